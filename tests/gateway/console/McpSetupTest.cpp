#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

Answer setup(Gateway const& gateway, Headers headers)
{
    return gateway.call("GET", "/console/mcp", "", std::move(headers));
}

TEST(McpSetup, saysHowAClientIsConnected)
{
    Gateway gateway;

    json::value const told = setup(gateway, {gateway.consoleSession()}).json();

    EXPECT_TRUE(std::filesystem::exists(std::string(told.at("command").as_string())));
    EXPECT_EQ(told.at("arguments"), (json::array{"mcp", "--data", gateway.data().string()}));
    EXPECT_EQ(told.at("url").as_string(), gateway.origin() + "/mcp");
    EXPECT_EQ(told.at("keyFile").as_string(), (gateway.data() / "api-key").string());
}

TEST(McpSetup, keepsTheKeyToItself)
{
    Gateway gateway;

    Answer const answer = setup(gateway, {gateway.consoleSession()});

    EXPECT_EQ(answer.body.find(gateway.apiKey()), std::string::npos);
}

TEST(McpSetup, isForTheConsole)
{
    Gateway gateway;

    EXPECT_EQ(setup(gateway, {}).status, 401);
    EXPECT_EQ(setup(gateway, {{"Authorization", "Bearer " + gateway.apiKey()}}).status, 401);
}

} // namespace
} // namespace zelvo::service
