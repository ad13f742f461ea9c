#include "ZelvoGateway/exchange/nats/NodePost.h"
#include "gateway/exchange/ExchangeSides.h"

#include <filesystem>
#include <functional>

namespace zelvo::service {

namespace {

class NatsExchangeTest : public testing::Test {
protected:
    void SetUp() override
    {
        if (auto const reason = PrivateNats::missing())
            GTEST_SKIP() << *reason;
        sides = std::make_unique<NatsSides>();
    }

    std::unique_ptr<NatsSides> sides;
    std::shared_ptr<TestHolder> holder = std::make_shared<TestHolder>();

    TestHolder::Answer never()
    {
        return [this](std::string, std::string) -> Task<std::string> {
            co_await sides->clock.sleep(24h);
            co_return "late";
        };
    }
    void loseServer()
    {
        sides->server.kill();
        ASSERT_TRUE(sides->until(
            [&] { return !sides->firstNode->isConnected() && !sides->secondNode->isConnected(); }));
    }
    void regainServer()
    {
        sides->server.restart();
        ASSERT_TRUE(sides->until(
            [&] { return sides->firstNode->isConnected() && sides->secondNode->isConnected(); }));
        sides->settle();
    }
};

TEST_F(NatsExchangeTest, endsOpenQuestionsWhenTheServerIsLost)
{
    holder = std::make_shared<TestHolder>(never());
    auto const held = sides->hold(sides->second(), "m1", 1, holder);
    auto const question = sides->ask(sides->first(), "m1", "hello");
    ASSERT_TRUE(sides->until([&] { return holder->running == 1; }));

    loseServer();

    ASSERT_TRUE(sides->until([&] { return question->isOver(); }));
    ASSERT_TRUE(question->failure);
    EXPECT_EQ(question->failure->code, ErrorCode::machineUnavailable);
    EXPECT_TRUE(sides->until([&] { return holder->running == 0; }));
}

TEST_F(NatsExchangeTest, answersForItsOwnMachinesWithoutTheServer)
{
    auto const held = sides->hold(sides->first(), "m1", 1, holder);

    loseServer();

    EXPECT_EQ(sides->answered(sides->first(), "m1", "a")->answer, "echo a");
    auto const question = sides->answered(sides->second(), "m1", "b");
    ASSERT_TRUE(question->failure);
    EXPECT_EQ(question->failure->code, ErrorCode::machineUnavailable);
}

TEST_F(NatsExchangeTest, goesOnWhenTheServerIsBack)
{
    auto const held = sides->hold(sides->second(), "m1", 1, holder);
    loseServer();

    regainServer();

    EXPECT_EQ(sides->answered(sides->first(), "m1", "a")->answer, "echo a");
    EXPECT_EQ(holder->replacedCount, 0);
}

TEST_F(NatsExchangeTest, settlesWhoHoldsAMachineThatMovedWithoutTheServer)
{
    auto const newer = std::make_shared<TestHolder>();
    auto const held = sides->hold(sides->first(), "m1", 1, holder);
    loseServer();
    auto const heldByNewer = sides->hold(sides->second(), "m1", 2, newer);

    regainServer();

    EXPECT_TRUE(sides->until([&] { return holder->replacedCount == 1; }));
    EXPECT_EQ(newer->replacedCount, 0);
    EXPECT_EQ(sides->answered(sides->first(), "m1", "a")->answer, "echo a");
    EXPECT_EQ(newer->asked.size(), 1U);
}

TEST_F(NatsExchangeTest, endsTheQuestionsToANodeThatHasFallenSilent)
{
    holder = std::make_shared<TestHolder>(never());
    auto held = sides->hold(sides->second(), "m1", 1, holder);
    auto const question = sides->ask(sides->first(), "m1", "hello", 10min);
    ASSERT_TRUE(sides->until([&] { return holder->running == 1; }));
    sides->settle(); // The first node has heard who answers.
    sides->clock.advance(NodeTable::reportPeriod);
    ASSERT_TRUE(sides->until([&] { return sides->firstNode->nodes().size() == 1; }));

    sides->secondNode.reset();
    EXPECT_FALSE(question->isOver());
    for (Duration passed{}; passed <= NodeTable::maxSilence; passed += NodeTable::reportPeriod) {
        sides->clock.advance(NodeTable::reportPeriod);
        sides->settle();
    }

    ASSERT_TRUE(question->failure);
    EXPECT_EQ(question->failure->code, ErrorCode::machineOffline);
    EXPECT_TRUE(sides->firstNode->nodes().empty());
}

TEST_F(NatsExchangeTest, knowsTheOthersAndTheirVersions)
{
    sides->clock.advance(NodeTable::reportPeriod);

    ASSERT_TRUE(sides->until([&] { return sides->firstNode->nodes().size() == 1; }));
    EXPECT_EQ(sides->firstNode->nodes().begin()->second, "1.0.0");
}

TEST_F(NatsExchangeTest, hasNothingToDoWithNodesOfAnotherSecret)
{
    auto const stranger = sides->node("another secret of 32 characters!");
    ASSERT_TRUE(sides->until([&] { return stranger->isConnected(); }));
    std::vector<std::string> heard;
    auto const observed =
        sides->first().observe("keys", [&](std::string const& text) { heard.push_back(text); });
    auto const held = sides->hold(sides->first(), "m1", 1, holder);
    sides->settle();
    auto const before = sides->firstNode->refusedMessages();

    stranger->publish("keys", "evil");
    auto const strange = std::make_shared<TestHolder>();
    auto const heldByStranger = stranger->hold("m1", 99, strange);
    auto const question = sides->ask(*stranger, "m1", "hello", 1s);

    EXPECT_TRUE(sides->until([&] { return sides->firstNode->refusedMessages() >= before + 2; }));
    EXPECT_TRUE(sides->until([&] { return question->isOver(); }));
    EXPECT_EQ(question->answer, "echo hello"); // Of itself.
    EXPECT_TRUE(heard.empty());
    EXPECT_TRUE(holder->asked.empty());
    EXPECT_EQ(holder->replacedCount, 0);
}

/// Somebody on NATS who reads everything, and sends what he likes.
class Stranger {
public:
    explicit Stranger(NatsSides& sides)
        : connection(
              {.url = sides.server.url(), .credentialsFile = {}, .authorityFile = {}, .name = "stranger"},
              sides.io.get_executor(),
              [this](NatsConnection::Message message) { seen.push_back(std::move(message)); },
              [](bool) {}),
          all(connection.subscribe(">"))
    {
        EXPECT_TRUE(sides.until([this] { return connection.isConnected(); }));
        sides.settle();
    }

    std::vector<NatsConnection::Message> seen;
    NatsConnection connection;

private:
    std::unique_ptr<NatsConnection::Subscription> all;
};

TEST_F(NatsExchangeTest, answersNoMessageTwiceAndReadsNoForeignOnes)
{
    Stranger stranger(*sides);
    auto const held = sides->hold(sides->second(), "m1", 1, holder);
    sides->settle();
    ASSERT_EQ(sides->answered(sides->first(), "m1", "delete everything")->answer, "echo delete everything");
    ASSERT_TRUE(sides->until([&] { return stranger.seen.size() >= 3; }));
    auto const recorded = stranger.seen;
    auto const before = sides->secondNode->refusedMessages();

    std::size_t sent = 0;
    for (auto const& message : recorded) {
        EXPECT_EQ(message.bytes.find("everything"), std::string::npos);
        stranger.connection.publish(message.subject, message.bytes);
        stranger.connection.publish("zelvo.test.machine.m1", message.bytes);
        std::string changed = message.bytes;
        if (!changed.empty())
            changed.back() ^= 1;
        stranger.connection.publish(message.subject, changed);
        ++sent;
    }
    for (char const* const subject :
         {"zelvo.test.machine.m1", "zelvo.test.held.m1", "zelvo.test.nodes", "zelvo.test.notice"})
        for (std::string const bytes : {"", "x", "hello hello hello hello hello hello hello"})
            stranger.connection.publish(subject, bytes);

    EXPECT_TRUE(sides->until([&] { return sides->secondNode->refusedMessages() >= before + sent + 12; }));
    sides->settle();
    EXPECT_EQ(holder->asked.size(), 1U);
    EXPECT_EQ(holder->replacedCount, 0);
    EXPECT_EQ(sides->answered(sides->first(), "m1", "again")->answer, "echo again");
}

TEST_F(NatsExchangeTest, refusesMessagesOfAnotherTime)
{
    Stranger stranger(*sides);
    auto const held = sides->hold(sides->second(), "m1", 1, holder);
    sides->settle();
    SteppedClock late; // Two minutes apart is no other time.
    late.advance(NodePost::maxAge + 1min);
    NodePost lateNode(stranger.connection, NatsSides::secret, "late", late);
    SteppedClock close;
    close.advance(2min);
    NodePost closeNode(stranger.connection, NatsSides::secret, "close", close);
    auto const before = sides->secondNode->refusedMessages();

    lateNode.send("zelvo.test.held.m1", {.kind = ExchangeMessage::Kind::held, .number = 2, .word = "m1"});

    ASSERT_TRUE(sides->until([&] { return sides->secondNode->refusedMessages() == before + 1; }));
    EXPECT_EQ(holder->replacedCount, 0);

    closeNode.send("zelvo.test.held.m1", {.kind = ExchangeMessage::Kind::held, .number = 2, .word = "m1"});

    EXPECT_TRUE(sides->until([&] { return holder->replacedCount == 1; }));
}

TEST_F(NatsExchangeTest, startsBeforeTheServer)
{
    sides->server.kill();

    auto const early = sides->node();

    EXPECT_FALSE(early->isConnected());
    sides->server.restart();
    EXPECT_TRUE(sides->until([&] { return early->isConnected(); }));
}

TEST(NatsExchangeOptions, areCheckedWithWords)
{
    asio::io_context io;
    SteppedClock clock;
    auto const problemOf = [&](std::string name, std::string secret, std::string url) -> std::string {
        try {
            NatsExchange const exchange({.connection = {.url = std::move(url),
                                                        .credentialsFile = {},
                                                        .authorityFile = {},
                                                        .name = "test"},
                                         .name = std::move(name),
                                         .secret = std::move(secret),
                                         .version = "1.0.0"},
                                        clock, io.get_executor());
        } catch (std::runtime_error const& error) {
            return error.what();
        }
        return "";
    };
    std::string const secret = NatsSides::secret;

    EXPECT_NE(problemOf("a.b", secret, "nats://127.0.0.1:1").find("name"), std::string::npos);
    EXPECT_NE(problemOf("", secret, "nats://127.0.0.1:1").find("name"), std::string::npos);
    EXPECT_NE(problemOf("a", "short", "nats://127.0.0.1:1").find("32"), std::string::npos);
    EXPECT_NE(problemOf("a", secret, "nats://127.0.0.1:port").find("NATS"), std::string::npos);
    EXPECT_EQ(problemOf("a", secret, "nats://127.0.0.1:1"), "");
}

} // namespace

} // namespace zelvo::service
