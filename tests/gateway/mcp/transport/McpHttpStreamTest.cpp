#include "gateway/mcp/transport/McpHttpFixture.h"

namespace zelvo::service {
namespace {

using Client = McpHttpClient;

class McpHttpStreamTest : public McpHttpFixture {};

TEST_F(McpHttpStreamTest, streamsProgressAndThenTheAnswer)
{
    std::string const params = Client::callParams("report", R"({"n":2})");
    auto const connection = sent(client.bytes("POST", Client::modernBody("tools/call", params),
                                              Client::modernHeaders("tools/call", "report")));

    std::string const all = readWhileTimePasses(*connection, "0\r\n\r\n", 200ms);

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

    EXPECT_NE(headOf(*connection).find("text/event-stream"), std::string::npos);
    endHolding();

    EXPECT_NE(readUntil(*connection, "0\r\n\r\n").find(R"("text":"hold")"), std::string::npos);
}

TEST_F(McpHttpStreamTest, servesTheNextRequestOnTheSameConnection)
{
    auto const connection = sent(modernHold());
    ASSERT_TRUE(isHolding());
    headOf(*connection);

    connection->send(
        client.bytes("POST", Client::modernBody("tools/list"), Client::modernHeaders("tools/list")));
    endHolding();

    std::string const all = readUntil(*connection, R"("ttlMs")");
    EXPECT_NE(all.find(R"("text":"hold")"), std::string::npos);
    EXPECT_NE(all.find("HTTP/1.1 200"), std::string::npos);
}

TEST_F(McpHttpStreamTest, saysThatItLives)
{
    auto const connection = sent(modernHold("60000"));
    ASSERT_TRUE(isHolding());
    headOf(*connection);

    EXPECT_NE(readWhileTimePasses(*connection, "\n\n", 5s).find(": keep-alive"), std::string::npos);
    endHolding();
}

TEST_F(McpHttpStreamTest, sendsLateJsonToAClientThatTakesNoEvents)
{
    client.accept = "application/json";
    auto const connection = sent(modernHold("40000"));
    ASSERT_TRUE(isHolding());
    std::string const head = headOf(*connection);
    EXPECT_NE(head.find("Content-Type: application/json"), std::string::npos);

    std::string const space = "1\r\n \r\n";
    EXPECT_NE(readWhileTimePasses(*connection, space, 5s).find(space), std::string::npos);
    endHolding();

    EXPECT_NE(readUntil(*connection, "0\r\n\r\n").find(R"("text":"hold")"), std::string::npos);
}

TEST_F(McpHttpStreamTest, endsWithTheConnectionForAnOldClient)
{
    std::string bytes = modernHold();
    bytes.replace(bytes.find("HTTP/1.1"), 8, "HTTP/1.0");
    auto const connection = sent(bytes);
    ASSERT_TRUE(isHolding());
    std::string const head = headOf(*connection);
    EXPECT_EQ(head.find("chunked"), std::string::npos);

    endHolding();

    std::string const body = connection->readToEnd();
    EXPECT_NE(body.find("event: message\ndata: {"), std::string::npos) << body;
    EXPECT_EQ(body.find('\r'), std::string::npos) << body; // No sizes of chunks.
}

TEST_F(McpHttpStreamTest, cancelsTheCallOfAClientThatGoes)
{
    auto connection = sent(modernHold("3600000"));
    ASSERT_TRUE(isHolding());
    headOf(*connection);

    connection.reset();

    EXPECT_TRUE(becomes([&] { return host.cancelled == 1; }));
    EXPECT_EQ(host.open, 0);
}

TEST_F(McpHttpStreamTest, cancelsTheCallOfAClientThatGoesEarly)
{
    auto connection = sent(modernHold("3600000"));
    ASSERT_TRUE(isHolding());

    connection.reset();

    EXPECT_TRUE(afterSteps(200ms, [&] { return host.cancelled == 1; })); // Once it begins to stream.
}

TEST_F(McpHttpStreamTest, cancelsTheCallOfAKeyThatIsRevoked)
{
    auto const early = sent(modernHold("3600000"));
    ASSERT_TRUE(isHolding(1));
    headOf(*early);
    auto const late = sent(modernHold("3600000"));
    ASSERT_TRUE(isHolding(2));

    server.endKey("key-b");
    EXPECT_EQ(client.call("echo").status, 200);
    EXPECT_EQ(host.open, 2);
    server.endKey("key-a");

    EXPECT_TRUE(becomes([&] { return host.cancelled == 2; }));
    EXPECT_EQ(host.open, 0);
}

TEST_F(McpHttpStreamTest, cancelsEverythingWhenItEnds)
{
    auto own = std::make_unique<McpTestServer>(host, McpTestOptions{.clock = &clock});
    RawConnection early(own->port());
    early.send(modernHold("3600000"));
    ASSERT_TRUE(isHolding(1));
    headOf(early);
    RawConnection late(own->port());
    late.send(modernHold("3600000"));
    ASSERT_TRUE(isHolding(2));

    own.reset();

    EXPECT_EQ(host.cancelled, 2);
}

} // namespace
} // namespace zelvo::service
