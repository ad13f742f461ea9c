#include "gateway/GatewayClient.h"

#include "base/LocalizedTexts.h"
#include "fakes/FakePlatform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Kind = GatewayConnectionState::Kind;
using testing::ElementsAre;
using testing::SizeIs;

class GatewayClientTest : public testing::Test {
protected:
    FakePlatform platform;
    std::vector<GatewayConnectionState> states;
    std::vector<RpcFrame> frames;
    double factor = 1.0;
    int rests = 0;
    AsyncCondition release;
    bool holdsReplies = false;
    std::shared_ptr<GatewayClient> client = makeClient();

    // A waiting receive loop and its socket hold each other until the socket ends.
    void TearDown() override
    {
        letGo();
        if (client)
            run(platform.io, client->stop());
    }

    std::shared_ptr<GatewayClient> makeClient()
    {
        return GatewayClient::create(
            "wss://gateway.test", "1.2.3",
            {.contexts = platform.contexts,
             .clock = platform.time,
             .sockets = platform.opener,
             .heartbeat = []() -> Task<std::optional<json::object>> {
                 json::object const payload{{"paused", false}};
                 co_return payload;
             },
             .onState = [this](GatewayConnectionState state) { states.push_back(state); },
             .jitter = [this] { return factor; },
             .onRest = [this] { ++rests; }});
    }

    GatewayClient::Handler handler()
    {
        return [this](RpcFrame frame) -> Task<std::optional<RpcReply>> {
            frames.push_back(frame);
            if (holdsReplies)
                co_await release.wait([this] { return !holdsReplies; });
            if (frame.method == "silent")
                co_return std::nullopt;
            co_return RpcReply::result(frame.id, "ok");
        };
    }

    void connect(std::string token = "secret")
    {
        run(platform.io, client->connect(std::move(token), handler()));
    }
    void letGo()
    {
        release.notifyAll([this] { holdsReplies = false; });
        platform.settle();
    }
    FakeWebSocket& socket() { return platform.opener.last(); }
    void deliver(std::string text, WebSocketMessage::Kind kind = WebSocketMessage::Kind::text)
    {
        socket().deliver(std::move(text), kind);
        platform.settle();
    }
    void fail(NetworkFailure::Kind kind = NetworkFailure::Kind::lost, std::string words = "x")
    {
        socket().fail(kind, std::move(words));
        platform.settle();
    }
    std::vector<Kind> kinds() const
    {
        std::vector<Kind> all;
        for (auto const& state : states)
            all.push_back(state.kind);
        return all;
    }
    Kind now() { return run(platform.io, client->currentState()).kind; }
    static constexpr char const* frame = R"({"id":"1","method":"m"})";
};

TEST_F(GatewayClientTest, opensThePathWithTokenAndVersion)
{
    connect();

    ASSERT_THAT(platform.opener.opened, SizeIs(1));
    EXPECT_EQ(socket().request.url, "wss://gateway.test/machines/connect");
    EXPECT_EQ(socket().request.timeout, 60s);
    EXPECT_THAT(socket().request.headers,
                ElementsAre(std::pair<std::string, std::string>("Authorization", "Bearer secret"),
                            std::pair<std::string, std::string>("X-Zelvo-App-Version", "1.2.3")));
}

TEST_F(GatewayClientTest, firstHeartbeatIsSentAtOnceAndProvesTheLink)
{
    connect();

    EXPECT_THAT(socket().sent, ElementsAre(R"({"method":"heartbeat","params":{"paused":false}})"));
    EXPECT_THAT(kinds(), ElementsAre(Kind::connecting, Kind::connected));
}

TEST_F(GatewayClientTest, heartbeatEveryFifteenSeconds)
{
    connect();

    platform.time.advance(14'999ms);
    EXPECT_THAT(socket().sent, SizeIs(1));
    platform.time.advance(1ms);
    EXPECT_THAT(socket().sent, SizeIs(2));
    socket().answerPing();
    platform.time.advance(15s);
    EXPECT_THAT(socket().sent, SizeIs(3));
}

TEST_F(GatewayClientTest, handshakeAloneIsNoProof)
{
    platform.opener.refusesToSend = true;
    connect();

    EXPECT_THAT(kinds(),
                ElementsAre(Kind::connecting, Kind::retrying)); // The send failed, and that ended the socket.
}

TEST_F(GatewayClientTest, pongProvesTheLink)
{
    client = GatewayClient::create(
        "wss://gateway.test", "1",
        {.contexts = platform.contexts,
         .clock = platform.time,
         .sockets = platform.opener,
         .heartbeat = []() -> Task<std::optional<json::object>> { co_return std::nullopt; },
         .onState = [this](GatewayConnectionState state) { states.push_back(state); },
         .jitter = [] { return 1.0; }});
    connect();
    EXPECT_EQ(now(), Kind::connecting);

    platform.time.advance(5s);
    socket().answerPing();
    platform.settle();

    EXPECT_EQ(now(), Kind::connected);
}

TEST_F(GatewayClientTest, anyMessageProvesTheLinkAlsoADroppedOne)
{
    platform.opener.refusesToSend = false;
    client = GatewayClient::create(
        "wss://gateway.test", "1",
        {.contexts = platform.contexts,
         .clock = platform.time,
         .sockets = platform.opener,
         .heartbeat = []() -> Task<std::optional<json::object>> { co_return std::nullopt; },
         .onState = {},
         .jitter = [] { return 1.0; }});
    connect();
    deliver("not json");

    EXPECT_EQ(now(), Kind::connected);
    EXPECT_THAT(frames, SizeIs(0));
}

TEST_F(GatewayClientTest, repliesToAFrame)
{
    connect();
    deliver(frame);

    EXPECT_EQ(socket().sent.back(), R"({"id":"1","result":"ok"})");
}

TEST_F(GatewayClientTest, noReplyWhenTheHandlerGivesNone)
{
    connect();
    deliver(R"({"id":"1","method":"silent"})");

    EXPECT_THAT(frames, SizeIs(1));
    EXPECT_THAT(socket().sent, SizeIs(1));
}

TEST_F(GatewayClientTest, malformedFramesAreDroppedAndTheNextIsServed)
{
    connect();
    for (char const* const text :
         {"", "[]", "5", "null", "{", R"({"id":1,"method":"m"})", R"({"method":"m"})", R"({"id":"1"})",
          R"({"id":"1","method":7})", R"({"id":"1","method":"m"} x)", "{\"id\":\"\xff\",\"method\":\"m\"}",
          R"({"id":"1","method":"m","params":{"n":1e400}})"})
        deliver(text);
    EXPECT_THAT(frames, SizeIs(0));
    EXPECT_THAT(socket().sent, SizeIs(1));

    deliver(frame);
    EXPECT_THAT(frames, SizeIs(1));
    EXPECT_EQ(now(), Kind::connected);
}

TEST_F(GatewayClientTest, frameWhoseIdIsANumberIsDropped)
{
    connect();
    deliver(R"({"id":5,"method":"m"})");
    EXPECT_THAT(frames, SizeIs(0));
}

TEST_F(GatewayClientTest, paramsAsAListReachTheHandlerEmpty)
{
    connect();
    deliver(R"({"id":"1","method":"m","params":[1]})");
    ASSERT_THAT(frames, SizeIs(1));
    EXPECT_TRUE(frames[0].params.empty());
}

TEST_F(GatewayClientTest, agentAsTextGivesNoName)
{
    connect();
    deliver(R"({"id":"1","method":"m","agent":"x"})");
    ASSERT_THAT(frames, SizeIs(1));
    EXPECT_EQ(frames[0].agentName, std::nullopt);
}

TEST_F(GatewayClientTest, restsOnceAMinuteAfterTheLastMessage)
{
    connect();
    platform.time.advance(10min);
    EXPECT_EQ(rests, 0); // Nothing was done yet.

    deliver(frame);
    platform.time.advance(59s);
    deliver(std::string(1000, '['), WebSocketMessage::Kind::text); // Dropped, but it took memory.
    platform.time.advance(59s);
    EXPECT_EQ(rests, 0);
    platform.time.advance(61s);
    EXPECT_EQ(rests, 1);
    platform.time.advance(10min);
    EXPECT_EQ(rests, 1);

    deliver(frame, WebSocketMessage::Kind::binary);
    platform.time.advance(2min);
    EXPECT_EQ(rests, 2);
}

TEST_F(GatewayClientTest, restsAMinuteAfterTheLastReply)
{
    holdsReplies = true;
    connect();
    deliver(frame);
    platform.time.advance(30s);
    letGo();
    platform.time.advance(59s);

    EXPECT_EQ(rests, 0);
    platform.time.advance(31s);
    EXPECT_EQ(rests, 1);
}

TEST_F(GatewayClientTest, binaryMessageIsDiscarded)
{
    connect();
    deliver(frame, WebSocketMessage::Kind::binary);
    EXPECT_THAT(frames, SizeIs(0));
}

TEST_F(GatewayClientTest, framesAreHandledOneAtATime)
{
    connect();
    holdsReplies = true;
    socket().deliver(R"({"id":"1","method":"m"})");
    socket().deliver(R"({"id":"2","method":"m"})");
    platform.settle();
    EXPECT_THAT(frames, SizeIs(1));
    EXPECT_EQ(socket().receives, 1);

    letGo();
    EXPECT_THAT(frames, SizeIs(2));
    EXPECT_EQ(socket().sent[1], R"({"id":"1","result":"ok"})");
    EXPECT_EQ(socket().sent[2], R"({"id":"2","result":"ok"})");
}

TEST_F(GatewayClientTest, heartbeatsAndPingsGoOnWhileACommandRuns)
{
    connect();
    holdsReplies = true;
    deliver(frame);

    for (int i = 0; i < 12; ++i) {
        platform.time.advance(10s);
        while (!socket().pendingPings.empty()) {
            socket().answerPing();
            platform.settle();
        }
    }

    EXPECT_THAT(platform.opener.opened, SizeIs(1));
    EXPECT_GE(socket().sent.size(), 8u);
    EXPECT_GE(socket().pings, 6);
    letGo();
    EXPECT_EQ(socket().sent.back(), R"({"id":"1","result":"ok"})");
}

TEST_F(GatewayClientTest, pingsAfterFiveThenEveryTwentySeconds)
{
    connect();
    platform.time.advance(4'999ms);
    EXPECT_EQ(socket().pings, 0);
    platform.time.advance(1ms);
    EXPECT_EQ(socket().pings, 1);
    socket().answerPing();
    platform.settle();
    platform.time.advance(19'999ms);
    EXPECT_EQ(socket().pings, 1);
    platform.time.advance(1ms);
    EXPECT_EQ(socket().pings, 2);
}

TEST_F(GatewayClientTest, lostPongEndsTheSocketWithoutACloseCode)
{
    connect();
    platform.time.advance(5s);
    FakeWebSocket& first = socket();
    platform.time.advance(14'999ms);
    EXPECT_FALSE(first.cancelled);
    platform.time.advance(1ms);

    EXPECT_TRUE(first.cancelled);
    EXPECT_EQ(first.cancelCode, std::nullopt);
    EXPECT_EQ(states.back().kind, Kind::retrying);
    EXPECT_EQ(states.back().reason, localized("gateway.reason.closed"));
}

TEST_F(GatewayClientTest, pongAfterFifteenSecondsIsIgnored)
{
    connect();
    platform.time.advance(5s);
    auto const late = socket().pendingPings.front();
    platform.time.advance(15s);
    std::size_t const before = states.size();

    late(true);
    platform.settle();

    EXPECT_EQ(states.size(), before);
    EXPECT_EQ(now(), Kind::retrying);
}

TEST_F(GatewayClientTest, missingPongDoesNotCountWhileAFullInboxHoldsReading)
{
    connect();
    socket().held = true;
    platform.time.advance(20s);
    EXPECT_FALSE(socket().cancelled);

    socket().held = false;
    platform.time.advance(20s); // The next ping is sent 20 s after the last one was given up.
    EXPECT_EQ(socket().pings, 2);
    platform.time.advance(15s);
    EXPECT_TRUE(platform.opener.opened.front()->cancelled);
}

TEST_F(GatewayClientTest, failedSendEndsTheSocketWithoutACloseCode)
{
    connect();
    socket().refusesToSend = true;
    FakeWebSocket& first = socket();
    deliver(frame);

    EXPECT_TRUE(first.cancelled);
    EXPECT_EQ(first.cancelCode, std::nullopt);
    EXPECT_EQ(now(), Kind::retrying);
}

TEST_F(GatewayClientTest, retriesWithTheDelaysOfFailuresInARow)
{
    platform.opener.refusesToSend = true;
    connect();
    std::vector<int> delays;
    for (int i = 0; i < 7; ++i) {
        ASSERT_EQ(states.back().kind, Kind::retrying);
        auto const delay = states.back().nextAttempt - platform.time.date();
        delays.push_back(static_cast<int>(std::chrono::duration_cast<std::chrono::seconds>(delay).count()));
        std::size_t const sockets = platform.opener.opened.size();
        platform.time.advance(delay - 1ms);
        EXPECT_EQ(platform.opener.opened.size(), sockets);
        platform.time.advance(1ms);
        EXPECT_EQ(platform.opener.opened.size(), sockets + 1);
    }
    EXPECT_THAT(delays, ElementsAre(1, 2, 4, 8, 16, 30, 30));
}

TEST_F(GatewayClientTest, returnsSoonAfterTheGatewayRestarts)
{
    factor = 1.1;
    connect();
    deliver(frame);
    socket().code = 1012;
    fail();
    EXPECT_EQ(states.back().kind, Kind::retrying);
    EXPECT_EQ(states.back().nextAttempt - platform.time.date(), 1100ms);

    platform.time.advance(1100ms);
    EXPECT_EQ(platform.opener.opened.size(), 2u);
}

TEST_F(GatewayClientTest, jitterStretchesTheDelay)
{
    factor = 1.3;
    connect();
    fail();
    EXPECT_EQ(states.back().nextAttempt - platform.time.date(), 1300ms);
}

TEST_F(GatewayClientTest, randomJitterStaysBetweenOneAndOnePointThree)
{
    double least = 2;
    double most = 0;
    for (int i = 0; i < 10'000; ++i) {
        double const drawn = GatewayClient::randomJitter();
        least = std::min(least, drawn);
        most = std::max(most, drawn);
    }
    EXPECT_GE(least, 1.0);
    EXPECT_LE(most, 1.3);
    EXPECT_LT(least, 1.01);
    EXPECT_GT(most, 1.29);
}

TEST_F(GatewayClientTest, signOfLifeResetsTheCountOfFailures)
{
    connect();
    fail();
    platform.time.advance(1s);
    fail(); // It was connected in between: the heartbeat was sent.
    EXPECT_EQ(states.back().nextAttempt - platform.time.date(), 1s);
}

TEST_F(GatewayClientTest, status401GivesUpForGood)
{
    connect();
    socket().status = 401;
    fail();
    EXPECT_EQ(now(), Kind::tokenRejected);

    platform.time.advance(120s);
    run(platform.io, client->reconnectNow());
    EXPECT_THAT(platform.opener.opened, SizeIs(1));
}

TEST_F(GatewayClientTest, closeCode4401OnARunningSessionGivesUpForGood)
{
    connect();
    deliver(frame);
    socket().status = 101;
    socket().code = 4401;
    fail();
    EXPECT_EQ(now(), Kind::tokenRejected);
    platform.time.advance(120s);
    EXPECT_THAT(platform.opener.opened, SizeIs(1));
}

TEST_F(GatewayClientTest, status426AndTheCloseReasonAskForAnUpdate)
{
    connect();
    socket().status = 426;
    fail();
    EXPECT_EQ(now(), Kind::updateRequired);

    connect(); // A new link tries again.
    socket().status = 101;
    socket().code = 1008;
    socket().reason = "sorry, app_update_required now";
    fail();
    EXPECT_EQ(now(), Kind::updateRequired);
    run(platform.io, client->reconnectNow());
    EXPECT_THAT(platform.opener.opened, SizeIs(2));
}

TEST_F(GatewayClientTest, connectOpensASocketAlsoAfterGivingUp)
{
    connect();
    socket().status = 401;
    fail();
    connect("other");
    EXPECT_THAT(platform.opener.opened, SizeIs(2));
    EXPECT_EQ(socket().request.headers[0].second, "Bearer other");
    EXPECT_EQ(now(), Kind::connected);
}

TEST_F(GatewayClientTest, status200RetriesWithTheStatus)
{
    platform.opener.refusesToSend = true;
    connect();
    platform.time.advance(1s);
    platform.opener.refusesToSend = false;
    platform.time.advance(2s);
    socket().status = 200;
    fail();
    EXPECT_EQ(states.back().reason, localized("gateway.httpStatus", {std::int64_t{200}}));
}

TEST_F(GatewayClientTest, reconnectNowWhileConnectedReplacesTheSocketThroughConnecting)
{
    connect();
    states.clear();
    FakeWebSocket& first = socket();
    run(platform.io, client->reconnectNow());

    EXPECT_EQ(first.cancelCode, 1001);
    EXPECT_THAT(platform.opener.opened, SizeIs(2));
    EXPECT_THAT(kinds(), ElementsAre(Kind::connecting, Kind::connected));
}

TEST_F(GatewayClientTest, delayedReconnectDoesNothingAfterReconnectNow)
{
    connect();
    fail();
    run(platform.io, client->reconnectNow());
    EXPECT_THAT(platform.opener.opened, SizeIs(2));
    platform.time.advance(2s);
    EXPECT_THAT(platform.opener.opened, SizeIs(2));
}

TEST_F(GatewayClientTest, reconnectNowDoesNothingWhenStoppedOrWithoutAToken)
{
    run(platform.io, client->reconnectNow());
    EXPECT_THAT(platform.opener.opened, SizeIs(0));
    connect();
    run(platform.io, client->stop());
    run(platform.io, client->reconnectNow());
    EXPECT_THAT(platform.opener.opened, SizeIs(1));
}

TEST_F(GatewayClientTest, stopClosesTheSessionAndReportsNotLinked)
{
    connect();
    FakeWebSocket& first = socket();
    run(platform.io, client->stop());
    EXPECT_EQ(first.cancelCode, 1001);
    EXPECT_EQ(states.back().kind, Kind::notLinked);
    platform.time.advance(60s);
    EXPECT_THAT(platform.opener.opened, SizeIs(1));
    EXPECT_EQ(states.back().kind, Kind::notLinked);
}

TEST_F(GatewayClientTest, stopDuringRetryingCancelsTheAttempt)
{
    connect();
    fail();
    run(platform.io, client->stop());
    platform.time.advance(60s);
    EXPECT_THAT(platform.opener.opened, SizeIs(1));
    EXPECT_EQ(now(), Kind::notLinked);
}

TEST_F(GatewayClientTest, oldSocketsLoopsDoNothingAfterItWasReplaced)
{
    connect();
    auto const first = platform.opener.opened.front();
    run(platform.io, client->reconnectNow());
    std::size_t const sent = first->sent.size();
    platform.time.advance(60s);
    EXPECT_EQ(first->sent.size(), sent);
    EXPECT_EQ(first->pings, 0);
}

TEST_F(GatewayClientTest, replyOfAReplacedSocketGoesToTheNewOne)
{
    connect();
    holdsReplies = true;
    deliver(frame);
    run(platform.io, client->reconnectNow());
    letGo();
    EXPECT_EQ(socket().sent.back(), R"({"id":"1","result":"ok"})");
}

TEST_F(GatewayClientTest, eventsCarryTheirConnectionWhenThereIsOne)
{
    connect();
    run(platform.io, client->sendEvent("paused", std::nullopt, {}));
    EXPECT_EQ(socket().sent.back(), R"({"event":"paused","data":{}})");
    run(platform.io,
        client->sendEvent("queued_commands_ack", "con_1", json::object{{"accepted", json::array()}}));
    EXPECT_EQ(socket().sent.back(),
              R"({"event":"queued_commands_ack","data":{"accepted":[]},"connectionId":"con_1"})");
}

TEST_F(GatewayClientTest, eventsWithoutASocketAreLost)
{
    run(platform.io, client->sendEvent("paused", std::nullopt, {}));
    connect();
    EXPECT_THAT(socket().sent, SizeIs(1));
}

TEST_F(GatewayClientTest, longRepliesArriveWholeAndInOrder)
{
    std::string const large(1 << 20, 'a');
    auto const echo = [&](RpcFrame frame) -> Task<std::optional<RpcReply>> {
        co_return RpcReply::result(frame.id, json::string(large));
    };
    run(platform.io, client->connect("t", echo));
    deliver(frame);
    EXPECT_EQ(socket().sent.back(), R"({"id":"1","result":")" + large + R"("})");
}

TEST_F(GatewayClientTest, loopsEndWhenTheClientIsDestroyed)
{
    connect();
    run(platform.io, client->stop());
    std::weak_ptr<GatewayClient> const weak = client;
    client.reset();
    platform.settle();
    EXPECT_TRUE(weak.expired());
    platform.time.advance(60s);
    EXPECT_EQ(platform.time.sleeperCount(), 0u);
}

} // namespace
} // namespace zelvo
