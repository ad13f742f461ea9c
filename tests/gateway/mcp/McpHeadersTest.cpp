#include "ZelvoGateway/mcp/McpHeaders.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

json::object const meta{{"io.modelcontextprotocol/protocolVersion", "2026-07-28"}};

JsonRpcRequest const listRequest{.id = std::int64_t(1), .method = "tools/list", .params = {{"_meta", meta}}};
JsonRpcRequest const callRequest{
    .id = std::int64_t(1), .method = "tools/call", .params = {{"name", "größe"}, {"_meta", meta}}};
JsonRpcRequest const withoutVersion{.id = std::int64_t(1), .method = "tools/list", .params = {}};

/// The header that is at fault, or "fits".
std::string check(McpHeaders const& headers, JsonRpcRequest const& request)
{
    auto const problem = headerProblem(headers, request);
    if (!problem)
        return "fits";
    EXPECT_EQ(problem->code, JsonRpcCode::headerMismatch);
    std::size_t const begin = problem->message.find('"') + 1;
    return problem->message.substr(begin, problem->message.find('"', begin) - begin);
}

TEST(McpHeaders, repeatTheBody)
{
    EXPECT_EQ(check({.version = "2026-07-28", .method = "tools/list"}, listRequest), "fits");
    EXPECT_EQ(check({.version = "2026-07-28", .method = "tools/call", .name = "größe"}, callRequest), "fits");
    EXPECT_EQ(check({.version = "2026-07-28", .method = "tools/call", .name = "=?base64?Z3LDtsOfZQ==?="},
                    callRequest),
              "fits");
}

TEST(McpHeaders, areAtFaultIfTheyAreMissing)
{
    EXPECT_EQ(check({.method = "tools/list"}, listRequest), "MCP-Protocol-Version");
    EXPECT_EQ(check({.version = "2026-07-28"}, listRequest), "Mcp-Method");
    EXPECT_EQ(check({.version = "2026-07-28", .method = "tools/call"}, callRequest), "Mcp-Name");
}

TEST(McpHeaders, areAtFaultIfTheyDiffer)
{
    EXPECT_EQ(check({.version = "2025-11-25", .method = "tools/list"}, listRequest), "MCP-Protocol-Version");
    EXPECT_EQ(check({.version = "2026-07-28", .method = "Tools/list"}, listRequest), "Mcp-Method");
    for (std::string const name : {"", "other", "=?base64?b3RoZXI=?=", "=?base64?no base64?=", "=?base64?="})
        EXPECT_EQ(check({.version = "2026-07-28", .method = "tools/call", .name = name}, callRequest),
                  "Mcp-Name")
            << name;
}

TEST(McpHeaders, areAtFaultIfABodyGivesNoNameToRepeat)
{
    JsonRpcRequest const nameless{.id = std::int64_t(1), .method = "tools/call", .params = {{"_meta", meta}}};

    EXPECT_EQ(check({.version = "2026-07-28", .method = "tools/call"}, nameless), "Mcp-Name");
}

TEST(McpHeaders, areNotNeededAfterAHandshake)
{
    EXPECT_EQ(check({}, withoutVersion), "fits");
    EXPECT_EQ(check({.version = "2025-11-25", .method = "other"}, withoutVersion), "fits");
}

TEST(McpHeaders, sayAVersionThatTheBodyMustSayToo)
{
    auto const problem = headerProblem({.version = "2026-07-28", .method = "tools/list"}, withoutVersion);

    ASSERT_TRUE(problem);
    EXPECT_EQ(problem->code, JsonRpcCode::invalidParams);
}

TEST(McpHeaders, repeatTheMethodOfANotification)
{
    JsonRpcNotification const cancelled{.method = "notifications/cancelled", .params = {}};
    auto const fits = [&](McpHeaders const& headers) { return !headerProblem(headers, cancelled); };

    EXPECT_TRUE(fits({.version = "2026-07-28", .method = "notifications/cancelled"}));
    EXPECT_FALSE(fits({.version = "2026-07-28", .method = "tools/call"}));
    EXPECT_FALSE(fits({.version = "2026-07-28"}));
    EXPECT_TRUE(fits({.version = "2025-11-25", .method = "tools/call"}));
}

} // namespace
} // namespace zelvo::service
