#include "base/DateText.h"
#include "gateway/support/Queued.h"

#include <gmock/gmock.h>

namespace zelvo::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Queue, keepsACommandForAMachineThatIsAway)
{
    Queued on;

    Answer const answer = on.post(R"({"method": "shell.run", "params": {"command": "make"},
        "delivery": {"whenUnavailable": "queue", "ttlSeconds": 90}})");

    EXPECT_EQ(answer.status, 202);
    auto const record = records::fromText<records::QueuedCommand>(answer.body);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->status, records::CommandStatus::queued);
    EXPECT_EQ(dates::parseIso8601(record->expiresAt), on.gateway.clock.start + 90s);
    EXPECT_EQ(on.command(record->commandId), *record);
}

TEST(Queue, keepsACommandForAnHourWhenNothingElseIsSaid)
{
    Queued on;

    Answer const answer = on.post(R"({"method": "x", "delivery": {"whenUnavailable": "queue"}})");

    EXPECT_EQ(answer.json().at("expiresAt").as_string(), "2026-11-21T01:00:00.000Z");
}

TEST(Queue, isForThoseWhoAskForIt)
{
    Queued on;

    for (std::string const delivery :
         {"null", "{}", R"({"whenUnavailable": "fail"})", R"({"ttlSeconds": 5})"}) {
        Answer const answer = on.post(R"({"method": "x", "delivery": )" + delivery + "}");
        EXPECT_EQ(answer.status, 503) << delivery;
        EXPECT_EQ(answer.errorCode(), "machine_offline") << delivery;
    }
}

TEST(Queue, refusesWrongOptionsOverHttp)
{
    Queued on;

    Answer const answer = on.post(R"({"method": "x", "delivery": {"ttlSeconds": "soon"}})");

    EXPECT_EQ(answer.status, 400);
    EXPECT_EQ(answer.errorCode(), "invalid_request");
    EXPECT_NE(answer.body.find("ttlSeconds"), std::string::npos);
}

TEST(Queue, isNotForTheGatewaysOwnMethods)
{
    Queued on;

    Answer const answer =
        on.post(R"({"method": "connection.revoke", "delivery": {"whenUnavailable": "queue"}})");

    EXPECT_EQ(answer.errorCode(), "forbidden");
}

TEST(Queue, isPassedByWhileTheMachineIsThere)
{
    Queued on;
    on.arrive();

    Answer const answer = on.post(R"({"method": "x", "delivery": {"whenUnavailable": "queue"}})");

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, R"({"result":{"ok":true}})");
}

TEST(Queue, keepsCommandsWhileTheMachineIsPausedOrNotReady)
{
    Queued on;
    on.arrive();

    on.machine->heartbeat("box", true);
    on.settle();
    std::string const first = on.queue("paused");
    for (std::string const availability : {"asleep", "screen_locked", "no_gui_session"}) {
        on.machine->heartbeat("box", false, availability);
        on.settle();
        on.queue(availability);
    }
    on.machine->heartbeat();
    on.machine->sendEvent("paused", {});
    on.settle();
    on.queue("event");

    EXPECT_THAT(on.reached(), IsEmpty());
    EXPECT_EQ(on.status(first), "queued");
}

TEST(Queue, takesACommandThatTheMachineDidNotStart)
{
    Queued on;
    on.arrive();
    on.settle();
    on.machine->onFrame([](json::object const&) { return errorOf("machine_unavailable", "locked"); });

    std::string const id = on.queue("shell.run");

    EXPECT_EQ(on.status(id), "queued");
    EXPECT_THAT(on.reached(), ElementsAre("shell.run"));
    on.machine->onFrame(answerOk);
    on.machine->heartbeat(); // As ready as before, and yet it is back.
    EXPECT_TRUE(on.offered(1));
}

TEST(Queue, takesNoActionsOfWhichSomeMayHaveBeenDone)
{
    Queued on;
    on.arrive();
    on.settle();
    on.machine->onFrame([](json::object const&) { return errorOf("machine_paused", "now"); });

    Answer const answer = on.post(R"({"method": "actions.perform", "params": {"actions": []},
        "delivery": {"whenUnavailable": "queue"}})");

    EXPECT_EQ(answer.errorCode(), "machine_paused");
}

TEST(Queue, keepsNothingThatWasSentWhenTheMachineWentAway)
{
    Queued on;
    on.arrive();
    on.settle();
    on.machine->onFrame([&](json::object const& frame) -> std::optional<json::object> {
        if (frame.at("method") != "x") // The update of agents may still be on its way.
            return answerOk(frame);
        on.machine->drop();
        return std::nullopt;
    });

    Answer const answer = on.post(R"({"method": "x", "delivery": {"whenUnavailable": "queue"}})");

    EXPECT_EQ(answer.errorCode(), "machine_offline");
}

TEST(Queue, endsWhatHasWaitedTooLong)
{
    Queued on;
    std::string const id = on.queue("x", {}, 60);

    on.gateway.clock.advance(59s);
    EXPECT_EQ(on.status(id), "queued");
    on.gateway.clock.advance(1s);

    EXPECT_EQ(on.status(id), "expired");
    on.arrive();
    on.settle();
    EXPECT_THAT(on.offers(), IsEmpty());
}

TEST(Queue, outlivesTheGateway)
{
    Queued on;
    std::string const first = on.queue("first");
    std::string const second = on.queue("second");

    on.gateway.stop();
    on.gateway.start();

    EXPECT_EQ(on.status(first), "queued");
    on.arrive();
    ASSERT_TRUE(on.offered(1));
    on.answer({first, second}, {});
    EXPECT_TRUE(on.becomesStatus(second, "completed"));
    EXPECT_THAT(on.reached(), ElementsAre("first", "second"));
}

TEST(Queue, doesNotRepeatWhatRanWhenTheGatewayStopped)
{
    Queued on;
    std::string const id = on.queue("slow");
    on.arrive();
    on.machine->onFrame([](json::object const& frame) {
        return frame.at("method") == "slow" ? std::nullopt : answerOk(frame);
    });
    ASSERT_TRUE(on.offered(1));
    on.answer({id}, {});
    ASSERT_TRUE(becomes([&] { return !on.reached().empty(); }));
    EXPECT_EQ(on.status(id), "running");

    on.gateway.stopNow();
    on.gateway.start();

    EXPECT_EQ(on.status(id), "failed");
    on.arrive();
    on.settle();
    EXPECT_THAT(on.offers(), IsEmpty());
    EXPECT_THAT(on.reached(), IsEmpty());
}

TEST(Queue, givesBackWhatHasNotBegun)
{
    Queued on;
    std::string const id = on.queue("x");
    std::string const target = on.path(on.linked.connectionId) + "/" + id;

    Answer const answer = on.gateway.platform("DELETE", target);

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.json().at("status").as_string(), "canceled");
    EXPECT_EQ(on.status(id), "canceled");
    Answer const again = on.gateway.platform("DELETE", target);
    EXPECT_EQ(again.status, 409);
    EXPECT_EQ(again.errorCode(), "invalid_request");
    on.arrive();
    on.settle();
    EXPECT_THAT(on.offers(), IsEmpty());
}

TEST(Queue, isNobodyElsesBusiness)
{
    Queued on;
    std::string const other = on.gateway.connect(on.linked);
    std::string const id = on.queue("x");

    EXPECT_EQ(on.ask(id, other).errorCode(), "not_found");
    EXPECT_EQ(on.gateway.platform("DELETE", on.path(other) + "/" + id).errorCode(), "not_found");
    EXPECT_EQ(on.ask("cmd_none").errorCode(), "not_found");
    EXPECT_EQ(on.ask(id, "con_none").errorCode(), "not_found");
    EXPECT_EQ(on.gateway.call("GET", on.path(on.linked.connectionId) + "/" + id).status, 401);
    EXPECT_EQ(on.gateway.platform("PUT", on.path(on.linked.connectionId) + "/" + id).status, 405);
    EXPECT_EQ(on.status(id), "queued");
}

TEST(Queue, isBoundedForAConnection)
{
    Queued on([](Settings& settings) { settings.limits.queuedCommands = 2; });
    std::string const other = on.gateway.connect(on.linked);
    on.queue("a");
    std::string const second = on.queue("b");

    Answer const answer = on.post(R"({"method": "c", "delivery": {"whenUnavailable": "queue"}})");

    EXPECT_EQ(answer.status, 429);
    EXPECT_EQ(answer.errorCode(), "rate_limited");
    EXPECT_NE(answer.body.find("The queue of this connection is full: 2 commands wait"), std::string::npos);
    on.queue("c", other);
    on.gateway.platform("DELETE", on.path(on.linked.connectionId) + "/" + second);
    on.queue("d");
}

TEST(Queue, isBoundedForAMachine)
{
    Queued on([](Settings& settings) { settings.limits.queuedCommandsOfMachine = 2; });
    std::string const other = on.gateway.connect(on.linked);
    on.queue("a");
    on.queue("b", other);

    Answer const answer = on.post(R"({"method": "c", "delivery": {"whenUnavailable": "queue"}})");

    EXPECT_EQ(answer.errorCode(), "rate_limited");
    EXPECT_NE(answer.body.find("The queue of this machine is full"), std::string::npos);
}

TEST(Queue, makesRoomWhenTimeIsOver)
{
    Queued on([](Settings& settings) { settings.limits.queuedCommands = 1; });
    on.queue("a", {}, 10);

    on.gateway.clock.advance(10s);

    on.queue("b");
}

TEST(Queue, isBoundedInBytes)
{
    Queued on([](Settings& settings) {
        settings.limits.queuedCommand = 2000;
        settings.limits.queuedBytes = 3000;
    });
    auto const post = [&](std::size_t bytes) {
        return on.post(R"({"method": "x", "params": {"a": ")" + std::string(bytes, 'a') +
                       R"("}, "delivery": {"whenUnavailable": "queue"}})");
    };

    EXPECT_EQ(post(2000).status, 413);
    EXPECT_EQ(post(1500).status, 202);
    EXPECT_EQ(post(1500).status, 429);
    EXPECT_EQ(post(500).status, 202);
}

TEST(Queue, forgetsARevokedConnectionsCommands)
{
    Queued on;
    std::string const other = on.gateway.connect(on.linked);
    std::string const mine = on.queue("mine");
    std::string const kept = on.queue("kept", other);

    on.gateway.platform("DELETE", "/v1/connections/" + on.linked.connectionId);

    EXPECT_EQ(on.ask(mine).status, 404);
    EXPECT_EQ(on.status(kept, other), "queued");
    on.arrive();
    ASSERT_TRUE(on.offered(1));
    EXPECT_EQ(on.offers().front().at("params").at("connectionId").as_string(), other);
}

TEST(Queue, forgetsResultsAfterADay)
{
    Queued on;
    std::string const id = on.queue("x");
    on.arrive();
    ASSERT_TRUE(on.offered(1));
    on.answer({id}, {});
    ASSERT_TRUE(on.becomesStatus(id, "completed"));

    on.gateway.clock.advance(23h);
    EXPECT_EQ(on.status(id), "completed");
    EXPECT_TRUE(becomes([&] {
        on.gateway.clock.advance(1h);
        return on.ask(id).status == 404;
    }));
}

} // namespace
} // namespace zelvo::service
