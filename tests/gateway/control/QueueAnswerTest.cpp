#include "gateway/support/Queued.h"

#include <gmock/gmock.h>

#include <future>

namespace zelvo::service {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::size_t maxResult = 1000; // Bytes.

/// What the person at the machine answers to an offer, and what becomes of the commands then.
class QueueAnswer : public testing::Test {
protected:
    explicit QueueAnswer(std::size_t maxCalls = Settings().limits.callsOfMachine)
        : on([maxCalls](Settings& settings) {
              settings.limits.queuedResult = maxResult;
              settings.limits.callsOfMachine = maxCalls;
          })
    {
    }
    /// The machine arrives and gets the offer. handler: what it replies to commands.
    void offer(FakeMachine::Handler handler = answerOk)
    {
        on.arrive().onFrame(std::move(handler));
        ASSERT_TRUE(on.offered(1));
    }

    Queued on;
};

/// Where a machine runs few commands at a time.
class QueueAnswerInLittleRoom : public QueueAnswer {
protected:
    QueueAnswerInLittleRoom() : QueueAnswer(2) {}
};

TEST_F(QueueAnswer, runsWhatWasAcceptedInOrderAndKeepsTheResults)
{
    std::vector<std::string> ids;
    for (std::string const method : {"one", "two", "three"})
        ids.push_back(on.queue(method));
    ASSERT_NO_FATAL_FAILURE(
        offer([](json::object const& frame) { return resultOf(json::object{{"did", frame.at("method")}}); }));

    on.answer({ids[2], ids[0], ids[1]}, {});

    ASSERT_TRUE(on.becomesStatus(ids[2], "completed"));
    EXPECT_THAT(on.reached(), ElementsAre("one", "two", "three"));
    EXPECT_EQ(writeJson(*on.command(ids[0]).result), R"({"did":"one"})");
    EXPECT_FALSE(on.command(ids[0]).error);
    EXPECT_EQ(writeJson(*on.command(ids[1]).result), R"({"did":"two"})");
}

TEST_F(QueueAnswer, sendsTheFrameAsItWasSubmitted)
{
    Answer const answer = on.post(R"({"method": "shell.run", "params": {"command": "make"},
        "agent": {"name": "Ann", "ref": "r1"},
        "delivery": {"whenUnavailable": "queue", "confirmationTimeoutMs": 90000}})");
    std::string const id(answer.json().at("commandId").as_string());
    ASSERT_NO_FATAL_FAILURE(offer());

    on.answer({id}, {});

    ASSERT_TRUE(on.becomesStatus(id, "completed"));
    json::object const frame = on.machine->framesOf("shell.run").at(0);
    EXPECT_EQ(frame.at("connectionId").as_string(), on.linked.connectionId);
    EXPECT_EQ(writeJson(frame.at("params")), R"({"command":"make","confirmationTimeoutMs":90000})");
    EXPECT_EQ(writeJson(frame.at("agent")), R"({"name":"Ann","ref":"r1"})");
}

TEST_F(QueueAnswer, keepsTheErrorOfACommandThatFails)
{
    std::string const first = on.queue("bad");
    std::string const second = on.queue("good");
    ASSERT_NO_FATAL_FAILURE(offer([](json::object const& frame) -> std::optional<json::object> {
        if (frame.at("method") == "bad")
            return json::object{
                {"error", {{"code", "permission_missing"}, {"message", "m"}, {"details", {{"p", "q"}}}}}};
        return answerOk(frame);
    }));

    on.answer({first, second}, {});

    ASSERT_TRUE(on.becomesStatus(second, "completed"));
    EXPECT_EQ(on.status(first), "failed");
    EXPECT_EQ(writeJson(*on.command(first).error),
              R"({"code":"permission_missing","message":"m","details":{"p":"q"}})");
}

TEST_F(QueueAnswer, keepsNoResultThatIsTooLarge)
{
    std::string const id = on.queue("x");
    ASSERT_NO_FATAL_FAILURE(
        offer([](json::object const&) { return resultOf(json::string(2 * maxResult, 'r')); }));

    on.answer({id}, {});

    ASSERT_TRUE(on.becomesStatus(id, "failed"));
    EXPECT_NE(on.ask(id).body.find("too large to be kept"), std::string::npos);
}

TEST_F(QueueAnswer, endsWhatWasDeclinedAsDenied)
{
    std::string const no = on.queue("no");
    std::string const yes = on.queue("yes");
    ASSERT_NO_FATAL_FAILURE(offer());

    on.answer({yes}, {no});

    ASSERT_TRUE(on.becomesStatus(yes, "completed"));
    EXPECT_EQ(on.status(no), "failed");
    EXPECT_EQ(on.command(no).error->at("code").as_string(), "denied_by_user");
    EXPECT_THAT(on.reached(), ElementsAre("yes"));
}

TEST_F(QueueAnswer, runsNothingThatIsInBothLists)
{
    std::string const id = on.queue("x");
    ASSERT_NO_FATAL_FAILURE(offer());

    on.answer({id}, {id});

    EXPECT_TRUE(on.becomesStatus(id, "failed"));
    on.settle();
    EXPECT_THAT(on.reached(), IsEmpty());
}

TEST_F(QueueAnswer, isPassedOverWhenItMakesNoSense)
{
    std::string const other = on.gateway.connect(on.linked);
    LinkedMachine const stranger = on.gateway.link();
    std::string const foreign = on.queue("foreign", stranger.connectionId);
    std::string const id = on.queue("x");
    ASSERT_NO_FATAL_FAILURE(offer());
    std::string const mine = on.linked.connectionId;
    std::string const good = R"("connectionId":")" + mine + "\"";
    std::string const list = "[\"" + id + "\"]";

    for (std::string const& text : std::vector<std::string>{
             R"({"event":"queued_commands_ack"})", R"({"event":"queued_commands_ack",)" + good + "}",
             R"({"event":"queued_commands_ack","data":{"accepted":)" + list + "}}",
             R"({"event":"queued_commands_ack","connectionId":5,"data":{"accepted":)" + list + "}}",
             R"({"event":"queued_commands_ack","connectionId":")" + other + R"(","data":{"accepted":)" +
                 list + "}}",
             R"({"event":"queued_commands_ack",)" + good + R"(,"data":[]})",
             R"({"event":"queued_commands_ack",)" + good + R"(,"data":{"accepted":")" + id + "\"}}",
             R"({"event":"queued_commands_ack",)" + good + R"(,"data":{"accepted":{"0":")" + id + "\"}}}",
             R"({"event":"queued_commands_ack",)" + good + R"(,"data":{"accepted":[null,5,{},[)" + list +
                 "]]}}",
             R"({"event":"queued_commands_ack",)" + good + R"(,"data":{"accepted":["","cmd_none",")" +
                 foreign + "\"]}}",
             R"({"event":"queued_commands_ack","connectionId":")" + stranger.connectionId +
                 R"(","data":{"accepted":[")" + foreign + R"("],"declined":[")" + foreign + "\"]}}"})
        on.machine->sendText(text);
    on.settle();

    EXPECT_EQ(on.status(id), "queued");
    EXPECT_EQ(on.status(foreign, stranger.connectionId), "queued");
    EXPECT_THAT(on.reached(), IsEmpty());
    on.answer({id}, {});
    EXPECT_TRUE(on.becomesStatus(id, "completed"));
}

TEST_F(QueueAnswer, countsOnce)
{
    std::string const id = on.queue("x");
    ASSERT_NO_FATAL_FAILURE(offer());

    on.answer({id}, {});
    on.answer({id}, {});
    on.answer({}, {id});

    EXPECT_TRUE(on.becomesStatus(id, "completed"));
    on.settle();
    EXPECT_EQ(on.status(id), "completed");
    EXPECT_THAT(on.reached(), ElementsAre("x"));
}

TEST_F(QueueAnswer, isWorthNothingBeforeTheOffer)
{
    std::string const id = on.queue("x");
    on.machine = std::make_unique<FakeMachine>(on.thread, on.gateway.port(), on.linked.token);
    ASSERT_EQ(on.machine->status(), 101);

    on.answer({id}, {});
    on.settle();

    EXPECT_EQ(on.status(id), "queued");
    EXPECT_THAT(on.reached(), IsEmpty());
}

TEST_F(QueueAnswer, isWorthNothingForWhatIsOver)
{
    std::string const late = on.queue("late", {}, 60);
    std::string const back = on.queue("back");
    std::string const good = on.queue("good");
    ASSERT_NO_FATAL_FAILURE(offer());
    on.gateway.clock.advance(60s);
    on.gateway.platform("DELETE", on.path(on.linked.connectionId) + "/" + back);

    on.answer({late, back, good}, {});

    ASSERT_TRUE(on.becomesStatus(good, "completed"));
    EXPECT_EQ(on.status(late), "expired");
    EXPECT_EQ(on.status(back), "canceled");
    EXPECT_THAT(on.reached(), ElementsAre("good"));
}

TEST_F(QueueAnswer, isWorthNothingAfterTheConnectionsEnd)
{
    std::string const id = on.queue("x");
    ASSERT_NO_FATAL_FAILURE(offer());
    on.gateway.platform("DELETE", "/v1/connections/" + on.linked.connectionId);

    on.answer({id}, {});

    EXPECT_TRUE(becomes([&] { return !on.machine->framesOf("connection.revoke").empty(); }));
    EXPECT_THAT(on.reached(), IsEmpty());
}

TEST_F(QueueAnswer, isWorthNothingWhileTheMachineIsPausedUnlessItIsANo)
{
    std::string const yes = on.queue("yes");
    std::string const no = on.queue("no");
    ASSERT_NO_FATAL_FAILURE(offer());
    on.machine->sendEvent("paused", {});

    on.answer({yes}, {no});

    ASSERT_TRUE(on.becomesStatus(no, "failed"));
    EXPECT_EQ(on.status(yes), "queued");
    EXPECT_THAT(on.reached(), IsEmpty());
    on.machine->sendEvent("resumed", {});
    ASSERT_TRUE(on.offered(2));
    EXPECT_EQ(on.offers().back().at("params").at("commands").as_array().size(), 1u);
}

TEST_F(QueueAnswer, leavesTheRestWaitingWhenTheMachineGoesAway)
{
    std::string const first = on.queue("first");
    std::string const second = on.queue("second");
    ASSERT_NO_FATAL_FAILURE(offer([](json::object const& frame) {
        return frame.at("method") == "first" ? std::nullopt : answerOk(frame);
    }));
    on.answer({first, second}, {});
    ASSERT_TRUE(becomes([&] { return on.reached().size() == 1; }));

    on.leave();

    EXPECT_TRUE(on.becomesStatus(first, "failed"));
    EXPECT_EQ(on.command(first).error->at("code").as_string(), "machine_offline");
    EXPECT_EQ(on.status(second), "queued");
    ASSERT_NO_FATAL_FAILURE(offer());
    EXPECT_EQ(on.offers().front().at("params").at("commands").as_array().size(), 1u);
    on.settle();
    EXPECT_THAT(on.reached(), IsEmpty());
}

TEST_F(QueueAnswer, leavesTheRestWaitingWhenTheMachineIsPaused)
{
    std::string const first = on.queue("first");
    std::string const second = on.queue("second");
    ASSERT_NO_FATAL_FAILURE(offer([](json::object const& frame) {
        return frame.at("method") == "first" ? errorOf("machine_paused", "m") : answerOk(frame);
    }));

    on.answer({first, second}, {});

    ASSERT_TRUE(becomes([&] { return on.reached().size() == 1; }));
    ASSERT_TRUE(on.becomesStatus(first, "queued"));
    on.settle();
    EXPECT_EQ(on.status(second), "queued");
    EXPECT_THAT(on.reached(), ElementsAre("first"));
    on.machine->onFrame(answerOk);
    on.machine->heartbeat();
    ASSERT_TRUE(on.offered(2));
    on.answer({first, second}, {});
    EXPECT_TRUE(on.becomesStatus(second, "completed"));
    EXPECT_EQ(on.status(first), "completed");
}

TEST_F(QueueAnswer, sendsNothingToAMachineThatWasPausedMeanwhile)
{
    std::string const first = on.queue("first");
    std::string const second = on.queue("actions.perform");
    ASSERT_NO_FATAL_FAILURE(offer([](json::object const& frame) {
        return frame.at("method") == "first" ? std::nullopt : answerOk(frame);
    }));
    on.answer({first, second}, {});
    ASSERT_TRUE(becomes([&] { return on.reached().size() == 1; }));

    on.machine->sendEvent("paused", {});
    on.machine->sendText(R"({"id":")" + first + R"(","result":1})");

    ASSERT_TRUE(on.becomesStatus(first, "completed"));
    on.settle();
    EXPECT_EQ(on.status(second), "queued");
    EXPECT_THAT(on.reached(), ElementsAre("first"));
    on.machine->sendEvent("resumed", {});
    ASSERT_TRUE(on.offered(2));
    on.settle();
    EXPECT_THAT(on.reached(), ElementsAre("first"));
    on.answer({second}, {});
    EXPECT_TRUE(on.becomesStatus(second, "completed"));
}

TEST_F(QueueAnswerInLittleRoom, triesACommandAgainForWhichThereWasNoRoom)
{
    std::string const id = on.queue("x");
    ASSERT_NO_FATAL_FAILURE(offer());
    ASSERT_TRUE(on.becomesFree());
    on.machine->onFrame([](json::object const& frame) {
        return frame.at("method") == "slow" ? std::nullopt : answerOk(frame);
    });
    std::vector<std::future<Answer>> slow;
    for (int i = 0; i < 2; ++i)
        slow.push_back(std::async(std::launch::async, [&] { return on.post(R"({"method":"slow"})"); }));
    ASSERT_TRUE(becomes([&] { return on.reached().size() == 2; }));

    on.answer({id}, {});
    for (json::object const& frame : on.machine->framesOf("slow"))
        on.machine->sendText(R"({"id":")" + std::string(frame.at("id").as_string()) + R"(","result":1})");
    for (auto& one : slow)
        EXPECT_EQ(one.get().status, 200);
    on.settle();

    EXPECT_EQ(on.status(id), "queued");
    on.gateway.clock.advance(1s);
    EXPECT_TRUE(on.becomesStatus(id, "completed"));
}

} // namespace
} // namespace zelvo::service
