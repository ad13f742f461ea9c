#include "gateway/mcp/McpFixture.h"

namespace zelvo::service {
namespace {

/// Requests that say their version themselves.
class McpStateless : public McpFixture {
protected:
    static std::string meta(std::string_view members)
    {
        return R"({"_meta":{)" + std::string(members) + "}}";
    }
};

TEST_F(McpStateless, needsNoHandshake)
{
    json::object const told = result(receive(request("1", "server/discover", modern())));

    EXPECT_EQ(
        writeJson(told),
        R"({"supportedVersions":["2026-07-28","2025-11-25","2025-06-18","2025-03-26","2024-11-05"],)"
        R"("capabilities":{"tools":{}},"instructions":"Look first.","ttlMs":300000,"cacheScope":"private",)"
        R"("resultType":"complete","_meta":{"io.modelcontextprotocol/serverInfo":)"
        R"({"name":"zelvo","title":"Zelvo","version":"1.2.3"}}})");
}

TEST_F(McpStateless, hasNoHandshake)
{
    std::string_view const params = R"("protocolVersion":"2025-11-25",)";

    EXPECT_EQ(error(receive(request("1", "initialize", modern(params)))), "-32601 of 1");
    EXPECT_FALSE(session.handshakeVersion());
}

TEST_F(McpStateless, listsTools)
{
    json::object const told = result(receive(request("1", "tools/list", modern())));

    EXPECT_EQ(told.at("tools").as_array().size(), 2U);
    EXPECT_EQ(told.at("resultType"), "complete");
    EXPECT_EQ(told.at("ttlMs"), 300000);
    EXPECT_EQ(told.at("cacheScope"), "private");
}

TEST_F(McpStateless, callsTools)
{
    McpOutput const output = receive(request("1", "tools/call", modern(R"("name":"look",)")));

    ASSERT_EQ(output.calls.size(), 1U);
    EXPECT_EQ(output.calls.front().client, "tester");
    EXPECT_TRUE(output.calls.front().wantsProgress);
    json::object const told = result(session.complete(output.calls.front().number, answer("here")));
    EXPECT_EQ(told.at("resultType"), "complete");
    EXPECT_TRUE(told.contains("_meta"));
}

TEST_F(McpStateless, refusesOtherVersions)
{
    for (std::string_view const version : {"2025-11-25", "2099-01-01", ""}) {
        McpOutput const output = receive(request(
            "1", "tools/list",
            meta(
                R"("io.modelcontextprotocol/clientCapabilities":{},"io.modelcontextprotocol/protocolVersion":")" +
                std::string(version) + "\"")));

        EXPECT_EQ(error(output), "-32022 of 1") << version;
        json::value const data = body(output).at("error").at("data");
        EXPECT_EQ(data.at("requested").as_string(), version);
        EXPECT_EQ(data.at("supported").as_array().front(), "2026-07-28");
    }
}

TEST_F(McpStateless, refusesWhatLacksTheRest)
{
    EXPECT_EQ(
        error(receive(request("1", "tools/list", meta(R"("io.modelcontextprotocol/protocolVersion":1)")))),
        "-32602 of 1");
    EXPECT_EQ(error(receive(request("1", "tools/list",
                                    meta(R"("io.modelcontextprotocol/protocolVersion":"2026-07-28")")))),
              "-32602 of 1");
    EXPECT_EQ(error(receive(request("1", "server/discover"))), "-32602 of 1");
}

TEST_F(McpStateless, hasNeitherPingNorHandshake)
{
    EXPECT_EQ(error(receive(request("1", "ping", modern()))), "-32601 of 1");
    EXPECT_EQ(error(receive(request("1", "logging/setLevel", modern()))), "-32601 of 1");
    EXPECT_EQ(session.handshakeVersion(), std::nullopt);
}

TEST_F(McpStateless, isServedBesideAHandshake)
{
    initialize();

    EXPECT_TRUE(result(receive(request("1", "tools/list", modern()))).contains("resultType"));
    EXPECT_FALSE(result(receive(request("2", "tools/list"))).contains("resultType"));
}

TEST_F(McpStateless, isNoPartOfAHandshakesMethods)
{
    initialize();

    EXPECT_EQ(error(receive(request("1", "server/discover"))), "-32601 of 1");
}

TEST_F(McpStateless, isNotInABatch)
{
    initialize("2025-03-26");

    McpOutput const output = receive("[" + request("1", "tools/list", modern()) + "]");

    ASSERT_EQ(output.messages.size(), 1U);
    EXPECT_EQ(output.messages.front().body.as_array().at(0).at("error").at("code"), -32600);
}

} // namespace
} // namespace zelvo::service
