#include "base/DateText.h"
#include "gateway/support/Queued.h"

#include <gmock/gmock.h>

// When queued commands are offered to the person at the machine.

namespace zelvo::service {
namespace {

using testing::IsEmpty;

TEST(QueueOffer, comesWhenTheMachineIsBack)
{
    Queued on;
    std::string const first = on.queue("shell.run", {}, 60);
    std::string const second = on.queue("screenshot");

    on.arrive();

    ASSERT_TRUE(on.offered(1));
    json::object const offer = on.offers().front();
    EXPECT_FALSE(offer.contains("connectionId"));
    json::value const& params = offer.at("params");
    EXPECT_EQ(params.at("connectionId").as_string(), on.linked.connectionId);
    EXPECT_EQ(params.at("platformName").as_string(), "Zelvo Local");
    json::array const& commands = params.at("commands").as_array();
    ASSERT_EQ(commands.size(), 2u);
    EXPECT_EQ(commands[0].at("commandId").as_string(), first);
    EXPECT_EQ(commands[0].at("type").as_string(), "shell.run");
    EXPECT_EQ(commands[0].at("summary").as_string(), "Run");
    EXPECT_EQ(dates::parseIso8601(std::string(commands[0].at("expiresAt").as_string())),
              on.gateway.clock.start + 60s);
    EXPECT_EQ(commands[1].at("commandId").as_string(), second);
    EXPECT_THAT(on.reached(), IsEmpty()); // Nothing runs unasked.
}

TEST(QueueOffer, waitsForAHeartbeatThatSaysReady)
{
    Queued on;
    on.queue("x");
    on.machine = std::make_unique<FakeMachine>(on.thread, on.gateway.port(), on.linked.token);
    ASSERT_EQ(on.machine->status(), 101);
    on.settle();
    EXPECT_THAT(on.offers(), IsEmpty());

    on.machine->heartbeat("box", false, "screen_locked");
    on.machine->heartbeat("box", true);
    on.settle();
    EXPECT_THAT(on.offers(), IsEmpty());

    on.machine->heartbeat();
    EXPECT_TRUE(on.offered(1));
}

TEST(QueueOffer, comesWhenThePersonResumes)
{
    Queued on;
    on.arrive();
    on.machine->sendEvent("paused", {});
    on.settle();
    on.queue("x");

    on.machine->sendEvent("resumed", {});

    EXPECT_TRUE(on.offered(1));
}

TEST(QueueOffer, comesOnceWhileTheMachineStays)
{
    Queued on;
    on.queue("x");
    on.arrive();
    ASSERT_TRUE(on.offered(1));

    for (int i = 0; i < 5; ++i)
        on.machine->heartbeat();
    on.settle();
    EXPECT_EQ(on.offers().size(), 1u);

    on.leave();
    on.arrive();
    EXPECT_TRUE(on.offered(1));
}

TEST(QueueOffer, isOneForEachConnection)
{
    Queued on;
    std::string const other = on.gateway.connect(on.linked);
    on.queue("a");
    on.queue("b", other);
    on.queue("c");

    on.arrive();

    ASSERT_TRUE(on.offered(2));
    std::map<std::string, std::size_t> counts;
    for (json::object const& offer : on.offers())
        counts[std::string(offer.at("params").at("connectionId").as_string())] =
            offer.at("params").at("commands").as_array().size();
    EXPECT_EQ(counts, (std::map<std::string, std::size_t>{{on.linked.connectionId, 2}, {other, 1}}));
}

TEST(QueueOffer, isNotMadeForAConnectionThatThePersonHasEnded)
{
    Queued on;
    std::string const other = on.gateway.connect(on.linked);
    on.queue("a");
    on.queue("b", other);
    on.machine = std::make_unique<FakeMachine>(on.thread, on.gateway.port(), on.linked.token);
    ASSERT_EQ(on.machine->status(), 101);

    on.machine->heartbeatWith({other});

    ASSERT_TRUE(on.offered(1));
    on.settle();
    ASSERT_EQ(on.offers().size(), 1u);
    EXPECT_EQ(on.offers().front().at("params").at("connectionId").as_string(), other);
}

TEST(QueueOffer, offersAgainWhatNobodyAnswered)
{
    Queued on;
    std::string const first = on.queue("a");
    std::string const second = on.queue("b");
    on.arrive();
    ASSERT_TRUE(on.offered(1));
    on.answer({first}, {});
    ASSERT_TRUE(on.becomesStatus(first, "completed"));
    EXPECT_EQ(on.status(second), "queued");

    on.machine->sendEvent("paused", {});
    on.machine->sendEvent("resumed", {});

    ASSERT_TRUE(on.offered(2));
    json::array const commands = on.offers().back().at("params").at("commands").as_array();
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_EQ(commands[0].at("commandId").as_string(), second);
}

TEST(QueueOffer, thatTheMachineRefusesLeavesTheCommandsWaiting)
{
    Queued on;
    std::string const id = on.queue("x");
    on.machine = std::make_unique<FakeMachine>(on.thread, on.gateway.port(), on.linked.token);
    on.machine->onFrame([](json::object const& frame) {
        return frame.at("method") == "queue.offer" ? errorOf("internal_error", "no") : answerOk(frame);
    });
    on.machine->heartbeat();
    ASSERT_TRUE(on.offered(1));
    on.settle();

    on.answer({id}, {}); // Of an offer that it refused.
    on.machine->heartbeat();
    on.settle();

    EXPECT_EQ(on.status(id), "queued");
    EXPECT_EQ(on.offers().size(), 1u);
    EXPECT_THAT(on.reached(), IsEmpty());
    on.leave();
    on.arrive();
    EXPECT_TRUE(on.offered(1));
}

TEST(QueueOffer, thatCameTooEarlyIsMadeAgainWithTheNextHeartbeat)
{
    Queued on;
    on.queue("x");
    on.machine = std::make_unique<FakeMachine>(on.thread, on.gateway.port(), on.linked.token);
    on.machine->onFrame([](json::object const& frame) {
        return frame.at("method") == "queue.offer" ? errorOf("machine_unavailable", "m") : answerOk(frame);
    });
    on.machine->heartbeat();
    ASSERT_TRUE(on.offered(1));
    on.settle();

    on.machine->onFrame(answerOk);
    on.machine->heartbeat();

    EXPECT_TRUE(on.offered(2));
}

TEST(QueueOffer, isMadeLaterWhenThereIsNoRoom)
{
    Queued on([](Settings& settings) { settings.limits.callsOfMachine = 1; });
    on.queue("x");
    on.machine = std::make_unique<FakeMachine>(on.thread, on.gateway.port(), on.linked.token);
    ASSERT_EQ(on.machine->status(), 101);
    on.machine->onFrame([](json::object const& frame) {
        return frame.at("method") == "agents.update" ? std::nullopt : answerOk(frame);
    });
    on.machine->heartbeat();
    ASSERT_TRUE(becomes([&] { return on.machine->framesOf("agents.update").size() == 1; }));

    std::string const update(on.machine->framesOf("agents.update").at(0).at("id").as_string());
    on.machine->sendText(R"({"id":")" + update + R"(","result":{}})");
    ASSERT_TRUE(on.becomesFree());

    EXPECT_THAT(on.offers(), IsEmpty());
    on.gateway.clock.advance(1s);
    EXPECT_TRUE(on.offered(1));
}

TEST(QueueOffer, outlivesAChangeOfSockets)
{
    Queued on;
    std::string const id = on.queue("x");
    on.arrive();
    ASSERT_TRUE(on.offered(1));

    FakeMachine newer(on.thread, on.gateway.port(), on.linked.token);
    ASSERT_EQ(newer.status(), 101);
    ASSERT_EQ(on.machine->closeCode(), 4409);
    newer.heartbeat();
    ASSERT_TRUE(becomes([&] { return newer.framesOf("queue.offer").size() == 1; }));
    newer.sendEvent("queued_commands_ack", {{"accepted", {id}}, {"declined", json::array()}},
                    on.linked.connectionId);

    EXPECT_TRUE(on.becomesStatus(id, "completed"));
}

} // namespace
} // namespace zelvo::service
