#include "gateway/mcp/transport/McpHttpFixture.h"

namespace zelvo::service {
namespace {

using Client = McpHttpClient;

class McpHttpStreamTest : public McpHttpFixture {
protected:
    /// Advances the clock in steps until a condition holds.
    bool afterSteps(Duration step, std::function<bool()> const& condition)
    {
        return becomes([&] {
            clock.advance(step);
            return condition();
        });
    }

    /// Reads on a separate thread while the clock advances.
    std::string readWhileTimePasses(RawConnection const& connection, std::string const& end)
    {
        std::string all;
        std::atomic<bool> isRead = false;
        std::thread reader([&] {
            all = readUntil(connection, end);
            isRead = true;
        });
        afterSteps(std::chrono::milliseconds(200), [&] { return isRead.load(); });
        reader.join();
        return all;
    }
};

TEST_F(McpHttpStreamTest, streamsProgressAndThenTheAnswer)
{
    std::string const params = Client::callParams("report", R"({"n":2})");
    auto const connection = sent(client.bytes("POST", Client::modernBody("tools/call", params),
                                              Client::modernHeaders("tools/call", "report")));

    std::string const all = readWhileTimePasses(*connection, "0\r\n\r\n");

    EXPECT_NE(all.find("Content-Type: text/event-stream"), std::string::npos) << all;
    EXPECT_NE(all.find("Transfer-Encoding: chunked"), std::string::npos);
    std::size_t const first = all.find(R"(event: message)"
                                       "\ndata: "
                                       R"({"jsonrpc":"2.0","method":"notifications/progress")");
    std::size_t const answer = all.find(R"(data: {"jsonrpc":"2.0","id":1,"result")");
    EXPECT_NE(first, std::string::npos);
    EXPECT_NE(answer, std::string::npos);
    EXPECT_LT(first, answer);
}

TEST_F(McpHttpStreamTest, streamsACallThatTakesLongerThanItsPatience)
{
    auto const connection = sent(modernHold());
    ASSERT_TRUE(isHolding());

    clock.advance(1s);
    EXPECT_NE(readUntil(*connection, "\r\n\r\n").find("text/event-stream"), std::string::npos);
    clock.advance(4s);

    EXPECT_NE(readUntil(*connection, "0\r\n\r\n").find(R"("text":"hold")"), std::string::npos);
}

TEST_F(McpHttpStreamTest, servesTheNextRequestOnTheSameConnection)
{
    auto const connection = sent(modernHold());
    ASSERT_TRUE(isHolding());
    clock.advance(1s);
    readUntil(*connection, "\r\n\r\n");

    connection->send(
        client.bytes("POST", Client::modernBody("tools/list"), Client::modernHeaders("tools/list")));
    clock.advance(4s);

    std::string const all = readUntil(*connection, R"("ttlMs")");
    EXPECT_NE(all.find(R"("text":"hold")"), std::string::npos);
    EXPECT_NE(all.find("HTTP/1.1 200"), std::string::npos);
}

TEST_F(McpHttpStreamTest, saysThatItLives)
{
    auto const connection = sent(modernHold("60000"));
    ASSERT_TRUE(isHolding());
    clock.advance(1s);
    readUntil(*connection, "\r\n\r\n");

    clock.advance(15s);
    EXPECT_NE(readUntil(*connection, "\n\n").find(": keep-alive"), std::string::npos);
    EXPECT_TRUE(becomes([&] {
        clock.advance(1s);
        return host.open == 0;
    }));
}

TEST_F(McpHttpStreamTest, sendsLateJsonToAClientThatTakesNoEvents)
{
    client.accept = "application/json";
    auto const connection = sent(modernHold("40000"));
    ASSERT_TRUE(isHolding());
    clock.advance(1s);
    std::string const head = readUntil(*connection, "\r\n\r\n");
    EXPECT_NE(head.find("Content-Type: application/json"), std::string::npos);

    clock.advance(15s);
    EXPECT_NE(readUntil(*connection, "1\r\n \r\n").find("1\r\n \r\n"), std::string::npos); // White space.
    ASSERT_TRUE(afterSteps(1s, [&] { return host.open == 0; }));

    EXPECT_NE(readUntil(*connection, "0\r\n\r\n").find(R"("text":"hold")"), std::string::npos);
}

TEST_F(McpHttpStreamTest, endsWithTheConnectionForAnOldClient)
{
    std::string bytes = modernHold();
    bytes.replace(bytes.find("HTTP/1.1"), 8, "HTTP/1.0");
    auto const connection = sent(bytes);
    ASSERT_TRUE(isHolding());
    clock.advance(1s);
    std::string const head = readUntil(*connection, "\r\n\r\n");
    EXPECT_EQ(head.find("chunked"), std::string::npos);

    clock.advance(4s);

    std::string const body = connection->readToEnd();
    EXPECT_TRUE(body.starts_with("event: message\ndata: {")) << body;
}

TEST_F(McpHttpStreamTest, cancelsTheCallOfAClientThatGoes)
{
    auto connection = sent(modernHold("3600000"));
    ASSERT_TRUE(isHolding());
    clock.advance(1s);
    readUntil(*connection, "\r\n\r\n");

    connection.reset();

    EXPECT_TRUE(becomes([&] { return host.cancelled == 1; }));
    EXPECT_EQ(host.open, 0);
}

TEST_F(McpHttpStreamTest, cancelsTheCallOfAClientThatGoesEarly)
{
    auto connection = sent(modernHold("3600000"));
    ASSERT_TRUE(isHolding());

    connection.reset();
    clock.advance(1s); // Then it would begin to stream.

    EXPECT_TRUE(becomes([&] { return host.cancelled == 1; }));
}

TEST_F(McpHttpStreamTest, cancelsEverythingWhenItEnds)
{
    auto own = std::make_unique<McpTestServer>(host, McpTestOptions{.clock = &clock});
    RawConnection early(own->port());
    early.send(modernHold("3600000"));
    ASSERT_TRUE(isHolding(1));
    clock.advance(1s);
    readUntil(early, "\r\n\r\n");
    RawConnection late(own->port());
    late.send(modernHold("3600000"));
    ASSERT_TRUE(isHolding(2));

    own.reset();

    EXPECT_EQ(host.cancelled, 2);
}

} // namespace
} // namespace zelvo::service
