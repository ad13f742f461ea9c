#include "gateway/mcp/transport/McpHttpFixture.h"

namespace zelvo::service {
namespace {

using Client = McpHttpClient;

class McpHttpSessionTest : public McpHttpFixture {
protected:
    McpHttpSessionTest() : McpHttpFixture({.rules = {.maxSessions = 3}}) {}

    std::string count(std::string const& session) const
    {
        return textOf(client.inSession(
            session, Client::message("1", "tools/call", "{" + Client::callParams("count") + "}")));
    }
    int statusIn(std::string const& session) const
    {
        return client.inSession(session, Client::message("9", "ping")).status;
    }
    std::string holdIn(std::string const& session, std::string const& ms = "60000") const
    {
        return client.bytes("POST", holdBody("1", ms), {{"Mcp-Session-Id", session}});
    }
    std::string listenIn(std::string const& session) const
    {
        return client.bytes("GET", "", {{"Mcp-Session-Id", session}});
    }
};

TEST_F(McpHttpSessionTest, beginsWithAHandshake)
{
    for (std::string const version : {"2025-11-25", "2025-06-18", "2025-03-26"}) {
        Answer const answer = client.post(Client::handshake(version));
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.json().at("result").at("protocolVersion").as_string(), version);
        EXPECT_EQ(answer.headers.at("mcp-session-id").size(), 64U);
        EXPECT_EQ(client
                      .inSession(answer.headers.at("mcp-session-id"),
                                 Client::notification("notifications/initialized"))
                      .status,
                  202);
    }
}

TEST_F(McpHttpSessionTest, doesNotBeginWithAHandshakeThatFails)
{
    Answer const answer = client.post(Client::message("0", "initialize"));

    EXPECT_EQ(errorCodeOf(answer), "-32602");
    EXPECT_FALSE(answer.headers.contains("mcp-session-id"));
}

TEST_F(McpHttpSessionTest, isAConversation)
{
    std::string const first = client.initialize();
    std::string const second = client.initialize();

    EXPECT_NE(first, second);
    EXPECT_EQ(count(first), "1");
    EXPECT_EQ(count(first), "2");
    EXPECT_EQ(count(second), "1");
}

TEST_F(McpHttpSessionTest, isFoundOnlyByItsKeyAndAddress)
{
    std::string const session = client.initialize();

    McpHttpClient other(server.port(), "key-b");
    EXPECT_EQ(other.inSession(session, Client::message("1", "ping")).status, 404);
    client.target = "/mcp/con_1";
    EXPECT_EQ(statusIn(session), 404);
    EXPECT_EQ(client.send("DELETE", "", {{"Mcp-Session-Id", session}}).status, 404);
    client.target = "/mcp?width=640";
    EXPECT_EQ(statusIn(session), 404);
    client.target = "/mcp";
    EXPECT_EQ(statusIn(session), 200);
    for (std::string const wrong : {"x", "", "0000"})
        EXPECT_EQ(statusIn(wrong), 404) << wrong;
}

TEST_F(McpHttpSessionTest, isNotNeededByRequestsThatSayTheirVersion)
{
    client.headers = {{"Mcp-Session-Id", "gone"}};

    EXPECT_EQ(client.modern("tools/list").status, 200);
}

TEST_F(McpHttpSessionTest, endsWhenItsClientSaysSo)
{
    std::string const session = client.initialize();
    auto const call = sent(holdIn(session));
    ASSERT_TRUE(isHolding());

    EXPECT_EQ(client.send("DELETE", "", {{"Mcp-Session-Id", session}}).status, 204);

    EXPECT_TRUE(becomes([&] { return host.cancelled == 1; }));
    EXPECT_NE(call->readSome().find("HTTP/1.1 202"),
              std::string::npos); // Its request needs no answer any more.
    EXPECT_EQ(statusIn(session), 404);
    EXPECT_EQ(client.send("DELETE", "", {{"Mcp-Session-Id", session}}).status, 404);
}

TEST_F(McpHttpSessionTest, goesOnWithoutTheClientOfACall)
{
    std::string const session = client.initialize();
    auto call = sent(holdIn(session));
    ASSERT_TRUE(isHolding());
    headOf(*call);

    call.reset();
    EXPECT_EQ(statusIn(session), 200);
    endHolding();

    EXPECT_EQ(host.cancelled, 0);
}

TEST_F(McpHttpSessionTest, cancelsACallThatItsClientCancels)
{
    std::string const session = client.initialize();
    auto const call = sent(holdIn(session));
    ASSERT_TRUE(isHolding());
    headOf(*call);

    Answer const answer =
        client.inSession(session, Client::notification("notifications/cancelled", R"({"requestId":1})"));

    EXPECT_EQ(answer.status, 202);
    EXPECT_TRUE(becomes([&] { return host.cancelled == 1; }));
    EXPECT_NE(readUntil(*call, "0\r\n\r\n").find("0\r\n\r\n"), std::string::npos); // The stream ends.
}

TEST_F(McpHttpSessionTest, answersABatchWhereTheVersionHasThem)
{
    std::string const batch = "[" + Client::message("1", "ping") + "," + Client::message("2", "ping") + "]";

    EXPECT_EQ(client.inSession(client.initialize("2025-03-26"), batch).json().as_array().size(), 2U);
    EXPECT_EQ(client.inSession(client.initialize("2025-06-18"), batch).status, 400);
}

TEST_F(McpHttpSessionTest, endsAfterATimeWithoutRequests)
{
    std::string const session = client.initialize();

    clock.advance(11h);
    EXPECT_EQ(statusIn(session), 200);
    clock.advance(11h);
    EXPECT_EQ(statusIn(session), 200);
    clock.advance(12h);

    EXPECT_EQ(statusIn(session), 404);
}

TEST_F(McpHttpSessionTest, leavesNoTaskWhenItsClientHasVanished)
{
    std::string const session = client.initialize();
    auto call = sent(holdIn(session, "172800000"));
    ASSERT_TRUE(isHolding());
    headOf(*call);
    call.reset();

    EXPECT_TRUE(becomes([&] {
        clock.advance(1h);
        server.runMaintenance();
        return host.cancelled == 1;
    }));
    EXPECT_EQ(statusIn(session), 404);
}

TEST_F(McpHttpSessionTest, staysWhileItsClientListens)
{
    std::string const session = client.initialize();
    auto const listener = sent(listenIn(session));
    EXPECT_NE(readUntil(*listener, "\r\n\r\n").find("Content-Type: text/event-stream"), std::string::npos);

    for (int i = 0; i < 30; ++i) {
        clock.advance(1h);
        server.runMaintenance();
    }

    EXPECT_NE(readWhileTimePasses(*listener, ": keep-alive", 5s).find(": keep-alive"), std::string::npos);
    EXPECT_EQ(statusIn(session), 200);
}

TEST_F(McpHttpSessionTest, hasOneListener)
{
    std::string const session = client.initialize();
    auto const first = sent(listenIn(session));
    readUntil(*first, "\r\n\r\n");
    auto const second = sent(listenIn(session));
    readUntil(*second, "\r\n\r\n");

    EXPECT_NE(readUntil(*first, "0\r\n\r\n").find("0\r\n\r\n"), std::string::npos);
    client.send("DELETE", "", {{"Mcp-Session-Id", session}});
    EXPECT_NE(readUntil(*second, "0\r\n\r\n").find("0\r\n\r\n"), std::string::npos);
}

TEST_F(McpHttpSessionTest, refusesListenersThatTakeNoEvents)
{
    std::string const session = client.initialize();
    client.accept = "application/json";

    EXPECT_EQ(client.send("GET", "", {{"Mcp-Session-Id", session}}).status, 406);
    client.accept = "text/event-stream";
    EXPECT_EQ(client.send("GET", "", {{"Mcp-Session-Id", "gone"}}).status, 404);
}

TEST_F(McpHttpSessionTest, givesWayToANewerOneOfItsKey)
{
    std::string const first = client.initialize();
    clock.advance(1s);
    std::string const second = client.initialize();
    std::string const other = McpHttpClient(server.port(), "key-b").initialize();
    clock.advance(1s);
    statusIn(first); // So that the second is the one that was unused for longest.
    client.initialize();
    client.initialize();

    EXPECT_EQ(statusIn(second), 404);
    EXPECT_EQ(statusIn(first), 200);
    EXPECT_EQ(McpHttpClient(server.port(), "key-b").inSession(other, Client::message("1", "ping")).status,
              200);
}

TEST_F(McpHttpSessionTest, doesNotGiveWayWhileItIsInUse)
{
    std::vector<std::unique_ptr<RawConnection>> listeners;
    for (int i = 0; i < 3; ++i) {
        listeners.push_back(sent(listenIn(client.initialize())));
        readUntil(*listeners.back(), "\r\n\r\n");
    }

    EXPECT_EQ(client.post(Client::handshake()).status, 429);
    listeners.pop_back();
    EXPECT_TRUE(becomes([&] { return client.post(Client::handshake()).status == 200; }));
}

TEST_F(McpHttpSessionTest, endsWithItsKey)
{
    std::string const session = client.initialize();
    auto const call = sent(holdIn(session));
    ASSERT_TRUE(isHolding());

    server.endKey("key-b");
    EXPECT_EQ(statusIn(session), 200);
    server.endKey("key-a");

    EXPECT_TRUE(becomes([&] { return host.cancelled == 1; }));
    EXPECT_EQ(statusIn(session), 404);
}

TEST_F(McpHttpSessionTest, isNotServedWithoutItsConnection)
{
    client.target = "/mcp/con_1";
    std::string const session = client.initialize();
    EXPECT_EQ(statusIn(session), 200);

    host.isRevoked = true;

    EXPECT_EQ(statusIn(session), 404);
}

class McpHttpCrowdTest : public McpHttpFixture {
protected:
    McpHttpCrowdTest() : McpHttpFixture({.rules = {.maxRequests = 2}}) {}
};

TEST_F(McpHttpCrowdTest, hasABoundForEachKey)
{
    auto first = sent(modernHold("3600000"));
    auto const second = sent(modernHold("3600000"));
    ASSERT_TRUE(isHolding(2));

    Answer const refused = client.call("echo");
    EXPECT_EQ(refused.status, 429);
    EXPECT_TRUE(refused.headers.contains("retry-after"));
    EXPECT_EQ(McpHttpClient(server.port(), "key-b").call("echo").status, 200);

    first.reset();
    EXPECT_TRUE(afterSteps(200ms, [&] { return client.call("echo").status == 200; }));
}

} // namespace
} // namespace zelvo::service
