#include "gateway/mcp/transport/McpHttpFixture.h"

namespace zelvo::service {
namespace {

using Client = McpHttpClient;

class McpHttpTest : public McpHttpFixture {};

TEST_F(McpHttpTest, answersRequestsThatSayTheirVersion)
{
    Answer const discovery = client.modern("server/discover");
    Answer const list = client.modern("tools/list");
    Answer const call = client.call("echo", R"({"text":"hello"})");

    EXPECT_EQ(discovery.status, 200);
    EXPECT_EQ(discovery.headers.at("content-type"), "application/json");
    EXPECT_EQ(discovery.json().at("result").at("supportedVersions").at(0), "2026-07-28");
    EXPECT_EQ(list.json().at("result").at("tools").as_array().size(), 7U);
    EXPECT_EQ(textOf(call), "hello");
    EXPECT_FALSE(call.headers.contains("mcp-session-id"));
}

TEST_F(McpHttpTest, keepsOneConversationOfAKeyAndAnAddress)
{
    EXPECT_EQ(textOf(client.call("count")), "1");
    EXPECT_EQ(textOf(client.call("count")), "2");

    McpHttpClient other(server.port(), "key-b");
    EXPECT_EQ(textOf(other.call("count")), "1");
    client.target = "/mcp?width=800";
    EXPECT_EQ(textOf(client.call("count")), "1");
    client.target = "/mcp/con_1";
    EXPECT_EQ(textOf(client.call("count")), "1");
    client.target = "/mcp";
    EXPECT_EQ(textOf(client.call("count")), "3");
}

TEST_F(McpHttpTest, forgetsAConversationThatRests)
{
    client.call("count");

    clock.advance(2h);

    EXPECT_EQ(textOf(client.call("count")), "1");
}

TEST_F(McpHttpTest, forgetsNoConversationWhoseCallIsOpen)
{
    auto const connection = sent(modernHold("10800000"));
    ASSERT_TRUE(isHolding());

    clock.advance(2h);

    server.runMaintenance();
    client.call("count");
    EXPECT_EQ(host.conversations, 1);
}

TEST_F(McpHttpTest, needsAKey)
{
    McpHttpClient const stranger(server.port(), "wrong");

    for (std::string const method : {"POST", "GET", "DELETE"}) {
        Answer const answer = stranger.send(method, Client::handshake());
        EXPECT_EQ(answer.status, 401) << method;
        EXPECT_EQ(answer.headers.at("www-authenticate"), "Bearer");
    }
    EXPECT_EQ(host.conversations, 0);
}

TEST_F(McpHttpTest, refusesOtherSites)
{
    EXPECT_EQ(client.post(Client::handshake(), {{"Origin", "https://evil.example"}}).status, 403);
    EXPECT_EQ(client.post(Client::handshake(), {{"Host", "evil.example"}}).status, 403);
    std::string const own = "http://127.0.0.1:" + std::to_string(server.port());
    EXPECT_EQ(client.post(Client::handshake(), {{"Origin", own}}).status, 200);
}

TEST_F(McpHttpTest, knowsItsMethods)
{
    for (std::string const method : {"PUT", "PATCH", "OPTIONS", "HEAD"})
        EXPECT_EQ(client.send(method).status, 405) << method;
    EXPECT_EQ(client.send("GET").status, 405); // Without a session.
    EXPECT_EQ(client.send("DELETE").status, 400);
}

TEST_F(McpHttpTest, servesOneConnectionAtItsAddress)
{
    client.target = "/mcp/con_1";
    EXPECT_EQ(client.modern("tools/list").status, 200);
    client.target = "/mcp/con_a";
    EXPECT_EQ(client.modern("tools/list").status, 200);
    EXPECT_EQ(McpHttpClient(client).modern("tools/list").status, 200);

    McpHttpClient other(server.port(), "key-b"); // Which does not reach it.
    other.target = "/mcp/con_a";
    EXPECT_EQ(other.modern("tools/list").status, 404);
    for (std::string const target :
         {"/mcp/con_2", "/mcp/", "/mcp//", "/mcp/con_1/x", "/mcp/%2e%2e", "/mcp/con_1%00"}) {
        client.target = target;
        EXPECT_EQ(client.modern("tools/list").status, 404) << target;
    }
}

TEST_F(McpHttpTest, readsTheSwitchesOfItsAddress)
{
    client.target = "/mcp?width=1280&tools=computer";
    json::value const list = client.modern("tools/list").json();
    EXPECT_EQ(list.at("result").at("tools").at(7).at("name"), "computer");
    EXPECT_EQ(list.at("result").at("tools").at(7).at("description"), "1280");

    for (std::string const query : {"width=", "width=0", "width=319", "width=3841", "width=1e3",
                                    "width=99999999999999999999", "width=-640", "width=640&width=640",
                                    "tools=", "tools=all", "tool=computer", "x", "=", "width=640%20"}) {
        client.target = "/mcp?" + query;
        EXPECT_EQ(client.modern("tools/list").status, 400) << query;
    }
}

TEST_F(McpHttpTest, answersMalformedBodiesWith400)
{
    for (std::string const& body :
         {std::string(), std::string("{"), std::string("[]"), std::string("null"), std::string("\"x\""),
          std::string("{}"), std::string(R"({"jsonrpc":"1.0","id":1,"method":"ping"})"),
          std::string(R"({"jsonrpc":"2.0","id":null,"method":"ping"})"),
          std::string(R"({"jsonrpc":"2.0","id":1,"method":"tools/list"})"), std::string("\xff\xfe"),
          std::string(100, '[') + std::string(100, ']')}) {
        Answer const answer = client.post(body);
        EXPECT_EQ(answer.status, 400) << body;
        EXPECT_TRUE(answer.json().as_object().contains("error")) << body;
    }
    EXPECT_EQ(host.conversations, 1);
}

TEST_F(McpHttpTest, refusesBodiesThatAreTooLong)
{
    RawConnection connection(server.port());
    connection.send("POST /mcp HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer key-a\r\n"
                    "Content-Type: application/json\r\nContent-Length: 16777217\r\n\r\n");

    EXPECT_NE(connection.readToEnd(2).find("HTTP/1.1 413"), std::string::npos);
}

TEST_F(McpHttpTest, answersARequestsFaultsWithItsId)
{
    std::string const body = Client::modernBody("tools/list");

    Answer const mismatch =
        client.post(body, {{"MCP-Protocol-Version", "2026-07-28"}, {"Mcp-Method", "ping"}});
    EXPECT_EQ(mismatch.status, 400);
    EXPECT_EQ(errorCodeOf(mismatch), "-32020");
    EXPECT_EQ(mismatch.json().at("id"), 1);

    Answer const unknown =
        client.post(R"({"jsonrpc":"2.0","id":7,"method":"tools/list","params":{"_meta":)"
                    R"({"io.modelcontextprotocol/protocolVersion":"2031-01-01"}}})",
                    {{"MCP-Protocol-Version", "2031-01-01"}, {"Mcp-Method", "tools/list"}});
    EXPECT_EQ(unknown.status, 400);
    EXPECT_EQ(errorCodeOf(unknown), "-32022");
    EXPECT_EQ(unknown.json().at("id"), 7);

    Answer const noMeta =
        client.post(Client::message("8", "server/discover"), Client::modernHeaders("server/discover"));
    EXPECT_EQ(noMeta.status, 400);
    EXPECT_EQ(errorCodeOf(noMeta), "-32602");

    Answer const noMethod = client.modern("ping");
    EXPECT_EQ(noMethod.status, 404);
    EXPECT_EQ(errorCodeOf(noMethod), "-32601");

    Answer const header =
        client.post(Client::message("9", "tools/list"), {{"MCP-Protocol-Version", "1999-01-01"}});
    EXPECT_EQ(header.status, 400);
    EXPECT_EQ(errorCodeOf(header), "-32022");
}

TEST_F(McpHttpTest, refusesAHeaderThatIsGivenTwice)
{
    std::string const body = Client::modernBody("tools/call", Client::callParams("count"));
    auto const answerWith = [&](Headers more) {
        Headers headers = Client::modernHeaders("tools/call", "count");
        headers.insert(headers.end(), more.begin(), more.end());
        auto const connection = sent(client.bytes("POST", body, headers));
        return readUntil(*connection, "}}");
    };

    for (auto const& [name, value] : Headers{{"Mcp-Name", "other"},
                                             {"mcp-name", "count"},
                                             {"Mcp-Method", "tools/list"},
                                             {"MCP-Protocol-Version", "2025-11-25"}}) {
        std::string const answer = answerWith({{name, value}});
        EXPECT_NE(answer.find("HTTP/1.1 400"), std::string::npos) << name;
        EXPECT_NE(answer.find("-32020"), std::string::npos) << answer;
    }
    EXPECT_EQ(textOf(client.call("count")), "1");
}

TEST_F(McpHttpTest, comparesTheHeadersOfANotification)
{
    std::string const body = Client::notification("notifications/cancelled", R"({"requestId":1})");

    EXPECT_EQ(client.post(body, Client::modernHeaders("notifications/cancelled")).status, 202);
    for (Headers const& headers : {Client::modernHeaders("tools/call"), Client::modernHeaders("")}) {
        Answer const answer = client.post(body, headers);
        EXPECT_EQ(answer.status, 400);
        EXPECT_EQ(errorCodeOf(answer), "-32020");
    }
}

TEST_F(McpHttpTest, takesOnlyJson)
{
    for (std::string const type :
         {"text/plain", "", "application/x-www-form-urlencoded", "application/json5"})
        EXPECT_EQ(client.post(Client::handshake(), {{"Content-Type", type}}).status, 415) << type;
    EXPECT_EQ(client.post(Client::handshake(), {{"Content-Type", "Application/JSON; charset=utf-8"}}).status,
              200);
}

TEST_F(McpHttpTest, answersInAKindThatTheClientTakes)
{
    auto const typeFor = [&](std::string const& accept) {
        client.accept = accept;
        Answer const answer = client.modern("tools/list");
        return answer.status == 200 ? answer.headers.at("content-type") : std::to_string(answer.status);
    };

    EXPECT_EQ(typeFor(""), "application/json");
    EXPECT_EQ(typeFor("*/*"), "application/json");
    EXPECT_EQ(typeFor("application/*;q=0.5"), "application/json");
    EXPECT_EQ(typeFor("text/event-stream, application/json"), "application/json");
    EXPECT_EQ(typeFor("TEXT/Event-Stream"), "text/event-stream");
    EXPECT_EQ(typeFor("text/html"), "406");
    EXPECT_EQ(typeFor(",;,"), "406");
}

TEST_F(McpHttpTest, answersNotificationsWith202)
{
    Answer const answer = client.post(Client::notification("notifications/initialized"));

    EXPECT_EQ(answer.status, 202);
    EXPECT_EQ(answer.body, "");
    EXPECT_FALSE(answer.headers.contains("content-type"));
}

TEST_F(McpHttpTest, hidesWhyAToolBroke)
{
    Answer const answer = client.call("break");

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(errorCodeOf(answer), "-32603");
    EXPECT_EQ(answer.body.find("on purpose"), std::string::npos);
}

TEST_F(McpHttpTest, answersLargeResults)
{
    Answer const answer = client.call("picture", R"({"n":5000000})");

    EXPECT_EQ(answer.json().at("result").at("content").at(0).at("data").as_string().size(), 5'000'000U);
    EXPECT_TRUE(becomes([&] { return server.lentMemory() == 0; }));
}

TEST_F(McpHttpTest, saysSoWhenItIsShortOfMemory)
{
    Answer const answer = client.call("picture", R"({"n":50000000})");

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(errorCodeOf(answer), "-32603");
    EXPECT_EQ(answer.json().at("id"), 1);
    EXPECT_NE(answer.body.find("no memory for this answer"), std::string::npos) << answer.body;
    // It was: an agent that is asked to try again would do everything twice.
    EXPECT_NE(answer.body.find("may have been carried out"), std::string::npos);
    EXPECT_EQ(answer.body.find("try again"), std::string::npos);
    EXPECT_TRUE(becomes([&] { return server.lentMemory() == 0; }));
}

} // namespace
} // namespace zelvo::service
