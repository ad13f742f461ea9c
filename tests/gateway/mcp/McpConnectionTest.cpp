#include "ZelvoGateway/mcp/McpConnection.h"

#include "ZelvoGateway/base/Failure.h"
#include "fakes/ManualClock.h"
#include "gateway/mcp/McpFixture.h"

#include <stdexcept>

namespace zelvo::service {
namespace {

/// Answers "look" after a second, in which it reports progress, and "count" at once.
class FakeRunner final : public ToolRunner {
public:
    explicit FakeRunner(Clock& clock) : clock(clock) {}

    int running = 0;
    int cancelled = 0;
    std::exception_ptr failure;

    Task<McpToolResult> run(McpCall call, Report report) override
    {
        if (failure)
            std::rethrow_exception(failure);
        if (call.tool == "look") {
            ++running;
            report(1, "looks");
            try {
                co_await clock.sleep(1s);
            } catch (...) {
                --running;
                ++cancelled;
                throw;
            }
            --running;
            report(2, "has looked");
        }
        McpToolResult result;
        result.content.push_back({.text = call.tool});
        co_return result;
    }

private:
    Clock& clock;
};

struct KeptReplies final : McpReplies {
    std::vector<std::string> texts;
    int finished = 0;

    void send(McpMessage message) override { texts.push_back(writeJson(message.body)); }
    void finish() override { ++finished; }
};

class McpConnectionTest : public McpFixture {
protected:
    asio::io_context io;
    ManualClock clock{&io};
    std::shared_ptr<FakeRunner> runner = std::make_shared<FakeRunner>(clock);
    std::shared_ptr<McpConnection> connection =
        std::make_shared<McpConnection>(std::make_shared<McpServer const>(server), runner, io.get_executor());

    McpConnectionTest() { receive(request("0", "initialize", R"({"protocolVersion":"2025-03-26"})")); }

    /// Receives a document on the connection's own executor, as transports do.
    std::shared_ptr<KeptReplies> receive(std::string const& text, McpExchangeNumber* exchange = nullptr)
    {
        auto replies = std::make_shared<KeptReplies>();
        inside([&] {
            McpExchangeNumber const number = connection->receive(readJsonRpc(text), replies);
            if (exchange)
                *exchange = number;
        });
        return replies;
    }

    void inside(std::function<void()> work)
    {
        asio::post(io, std::move(work));
        io.restart();
        io.poll();
    }

    static std::string call(std::string const& id, std::string const& tool, std::string const& meta = "{}")
    {
        return request(id, "tools/call",
                       R"({"name":")" + tool + R"(","arguments":{"to":1},"_meta":)" + meta + "}");
    }
};

TEST_F(McpConnectionTest, answersWhatNeedsNoCall)
{
    auto const replies = receive(request("1", "ping"));

    EXPECT_EQ(replies->texts, std::vector<std::string>{R"({"jsonrpc":"2.0","id":1,"result":{}})"});
    EXPECT_EQ(replies->finished, 1);
}

TEST_F(McpConnectionTest, answersACallThatEndsAtOnce)
{
    auto const replies = receive(call("1", "count"));

    ASSERT_EQ(replies->texts.size(), 1U);
    EXPECT_NE(replies->texts.front().find(R"("text":"count")"), std::string::npos);
    EXPECT_EQ(replies->finished, 1);
    EXPECT_EQ(connection->openCalls(), 0U);
}

TEST_F(McpConnectionTest, answersACallThatTakesTime)
{
    auto const replies = receive(call("1", "look"));
    EXPECT_EQ(replies->finished, 0);

    clock.advance(1s);

    ASSERT_EQ(replies->texts.size(), 1U);
    EXPECT_EQ(replies->finished, 1);
    EXPECT_EQ(connection->openCalls(), 0U);
}

TEST_F(McpConnectionTest, sendsProgressBeforeTheAnswer)
{
    auto const replies = receive(call("1", "look", R"({"progressToken":"p"})"));

    clock.advance(1s);

    ASSERT_EQ(replies->texts.size(), 3U);
    EXPECT_NE(replies->texts[0].find(R"("progress":1,"message":"looks")"), std::string::npos);
    EXPECT_NE(replies->texts[1].find(R"("progress":2)"), std::string::npos);
    EXPECT_NE(replies->texts[2].find(R"("result")"), std::string::npos);
}

TEST_F(McpConnectionTest, answersABatchWhenAllItsCallsHaveEnded)
{
    auto const replies = receive("[" + call("1", "count") + "," + call("2", "look") + "]");
    EXPECT_TRUE(replies->texts.empty());

    clock.advance(1s);

    ASSERT_EQ(replies->texts.size(), 1U);
    EXPECT_EQ(parseJson(replies->texts.front())->as_array().size(), 2U);
    EXPECT_EQ(replies->finished, 1);
}

TEST_F(McpConnectionTest, cancelsACallThatItsClientCancels)
{
    auto const replies = receive(call("1", "look"));

    receive(notification("notifications/cancelled", R"({"requestId":1})"));
    clock.advance(0s);

    EXPECT_EQ(runner->cancelled, 1);
    EXPECT_EQ(runner->running, 0);
    EXPECT_EQ(clock.sleeperCount(), 0U);
    EXPECT_TRUE(replies->texts.empty());
    EXPECT_EQ(replies->finished, 1);
}

TEST_F(McpConnectionTest, cancelsTheCallsOfAnAbandonedExchange)
{
    McpExchangeNumber exchange = 0;
    auto const left = receive(call("1", "look"), &exchange);
    auto const waiting = receive(call("2", "look"));

    inside([&] { connection->abandon(exchange); });

    EXPECT_EQ(runner->cancelled, 1);
    EXPECT_EQ(runner->running, 1);
    EXPECT_EQ(left->finished, 1);
    EXPECT_EQ(waiting->finished, 0);
}

TEST_F(McpConnectionTest, endsWithoutLeavingATask)
{
    auto const first = receive(call("1", "look"));
    auto const second = receive(call("2", "look"));

    inside([&] { connection->end(); });

    EXPECT_EQ(runner->running, 0);
    EXPECT_EQ(clock.sleeperCount(), 0U);
    EXPECT_EQ(connection->openCalls(), 0U);
    EXPECT_EQ(first->finished, 1);
    EXPECT_EQ(second->finished, 1);
    EXPECT_EQ(receive(call("3", "look"))->finished, 1);
    EXPECT_EQ(runner->running, 0);
}

TEST_F(McpConnectionTest, goesWithItsLastCall)
{
    receive(call("1", "look"));
    std::weak_ptr const weak = connection;

    inside([&] { std::exchange(connection, nullptr)->end(); });

    EXPECT_TRUE(weak.expired());
}

TEST_F(McpConnectionTest, answersFailuresThatRunnersThrow)
{
    runner->failure =
        std::make_exception_ptr(JsonRpcError{.code = JsonRpcCode::invalidParams, .message = "no"});
    EXPECT_NE(receive(call("1", "count"))->texts.at(0).find(R"("error":{"code":-32602,"message":"no"})"),
              std::string::npos);

    runner->failure =
        std::make_exception_ptr(Failure{.code = ErrorCode::machineOffline, .message = "it is away"});
    std::string const told = receive(call("2", "count"))->texts.at(0);
    EXPECT_NE(told.find("machine_offline: it is away"), std::string::npos);
    EXPECT_NE(told.find(R"("isError":true)"), std::string::npos);

    runner->failure = std::make_exception_ptr(std::runtime_error("secret"));
    std::string const hidden = receive(call("3", "count"))->texts.at(0);
    EXPECT_NE(hidden.find("-32603"), std::string::npos);
    EXPECT_EQ(hidden.find("secret"), std::string::npos);
    EXPECT_EQ(connection->openCalls(), 0U);
}

} // namespace
} // namespace zelvo::service
