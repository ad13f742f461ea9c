#include "gateway/mcp/McpFixture.h"

namespace zelvo::service {
namespace {

class McpHandshake : public McpFixture {
protected:
    /// The version that a fresh session answers with.
    std::string agreed(std::string_view wanted)
    {
        McpSession fresh(server);
        McpOutput const output = fresh.receive(readJsonRpc(
            request("1", "initialize", R"({"protocolVersion":")" + std::string(wanted) + R"("})")));
        return read::text(result(output), "protocolVersion").value_or("");
    }
};

TEST_F(McpHandshake, saysWhoTheServerIs)
{
    EXPECT_EQ(
        writeJson(result(initialize())),
        R"({"protocolVersion":"2025-11-25","capabilities":{"tools":{}},)"
        R"("serverInfo":{"name":"zelvo","title":"Zelvo","version":"1.2.3"},"instructions":"Look first."})");
}

TEST_F(McpHandshake, takesTheClientsVersion)
{
    for (std::string_view const version : {"2024-11-05", "2025-03-26", "2025-06-18", "2025-11-25"})
        EXPECT_EQ(agreed(version), version);
}

TEST_F(McpHandshake, offersTheNewestVersionThatHasOneForAnyOther)
{
    for (std::string_view const version : {"2026-07-28", "2099-01-01", "1.0", ""})
        EXPECT_EQ(agreed(version), "2025-11-25") << version;
}

TEST_F(McpHandshake, refusesBadParams)
{
    EXPECT_EQ(error(receive(request("1", "initialize"))), "-32602 of 1");
    EXPECT_EQ(error(receive(request("1", "initialize", R"({"protocolVersion":1})"))), "-32602 of 1");
    EXPECT_EQ(
        error(receive(request("1", "initialize", R"({"protocolVersion":"2025-11-25","capabilities":[]})"))),
        "-32602 of 1");
    EXPECT_EQ(
        error(receive(request("1", "initialize", R"({"protocolVersion":"2025-11-25","clientInfo":"x"})"))),
        "-32602 of 1");
    EXPECT_EQ(session.handshakeVersion(), std::nullopt);
}

TEST_F(McpHandshake, happensOnce)
{
    initialize("2025-03-26");

    EXPECT_EQ(error(initialize("2025-11-25")), "-32600 of 0");
    EXPECT_EQ(session.handshakeVersion(), McpVersion::march2025);
}

TEST_F(McpHandshake, comesBeforeRequests)
{
    EXPECT_EQ(error(receive(request("1", "tools/list"))), "-32600 of 1");
    EXPECT_EQ(error(look()), "-32600 of 1");
    EXPECT_EQ(session.openCalls(), 0U);
}

TEST_F(McpHandshake, isNotAskedForByAPing)
{
    EXPECT_EQ(writeJson(result(receive(request("1", "ping")))), "{}");
}

TEST_F(McpHandshake, letsRequestsFollowBeforeTheClientSaysThatItIsReady)
{
    receive(request("0", "initialize", R"({"protocolVersion":"2025-11-25"})"));

    EXPECT_TRUE(result(receive(request("1", "tools/list"))).contains("tools"));
}

TEST_F(McpHandshake, givesCallsTheNameOfTheClient)
{
    initialize();

    McpOutput const output = look();

    ASSERT_EQ(output.calls.size(), 1U);
    EXPECT_EQ(output.calls.front().client, "The tester");
}

TEST_F(McpHandshake, makesForeignNamesFitForOneLine)
{
    receive(request("0", "initialize",
                    R"({"protocolVersion":"2025-11-25","clientInfo":{"name":"a\u202eb\n)" +
                        std::string(500, 'x') + "\"}}"));

    std::string const name = look().calls.at(0).client;

    EXPECT_EQ(name.find("ab"), 0U);
    EXPECT_LT(name.size(), 110U);
}

} // namespace
} // namespace zelvo::service
