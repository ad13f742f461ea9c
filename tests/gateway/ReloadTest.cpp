#include "gateway/mcp/transport/McpSocketClient.h"
#include "gateway/support/FakeMachine.h"
#include "gateway/support/Queued.h"
#include "gateway/support/Recorded.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <future>

namespace zelvo::service {
namespace {

/// Reloads, and returns what went wrong.
std::vector<std::string> reloaded(Gateway& gateway, std::optional<Settings> next = {})
{
    std::promise<std::vector<std::string>> done;
    gateway.running().reload(std::move(next), [&](auto problems) { done.set_value(std::move(problems)); });
    return done.get_future().get();
}

void replaceKey(Gateway& gateway)
{
    std::filesystem::remove(gateway.data() / "api-key");
    EXPECT_TRUE(reloaded(gateway).empty());
}

Headers with(std::string const& key)
{
    return {{"Authorization", "Bearer " + key}};
}

TEST(Reload, givesOtherSettingsToWhatRuns)
{
    Recorded on;
    Settings next;
    next.platformName = "Acme";
    next.recordings.taken = false;
    next.publicUrl = "https://x.example"; // Waits for the next start.

    reloaded(on.gateway, next);

    EXPECT_THAT(on.gateway.call("GET", "/link").body, testing::HasSubstr("Acme"));
    EXPECT_EQ(on.post("", on.announcement(6)).status, 503);
    EXPECT_EQ(on.gateway.running().address(), on.gateway.origin());
    reloaded(on.gateway, Settings());
    EXPECT_EQ(on.post("", on.announcement(6)).status, 200);
}

TEST(Reload, endsWhatWasBegunWithTheOldKey)
{
    Recorded on;
    Gateway& gateway = on.gateway;
    std::string const old = gateway.apiKey();
    std::string const film = on.addressOf(on.recording());
    std::string const other(gateway
                                .call("POST", "/console/keys", R"({"name":"Acme"})",
                                      {gateway.consoleSession(), {"Origin", gateway.origin()}})
                                .json()
                                .at("text")
                                .as_string());
    McpSocketClient ours(gateway.port(), old);
    McpSocketClient theirs(gateway.port(), other);
    auto const session = gateway.consoleSession();
    ASSERT_EQ(gateway.call("GET", film).status, 200);

    replaceKey(gateway);

    EXPECT_EQ(gateway.call("GET", "/v1/machines", "", with(old)).status, 401);
    EXPECT_EQ(gateway.call("GET", film).status, 403);
    EXPECT_EQ(gateway.call("GET", "/console/machines", "", {session}).status, 401);
    ours.read();
    EXPECT_TRUE(ours.hasEnded);
    EXPECT_EQ(gateway.platform("GET", "/v1/machines").status, 200);
    EXPECT_EQ(gateway.call("GET", "/v1/machines", "", with(other)).status, 200);
    EXPECT_TRUE(theirs.write(R"({"jsonrpc":"2.0","id":1,"method":"ping"})"));
    EXPECT_NE(theirs.read(), "");
}

TEST(Reload, cancelsWhatWaitsInTheNameOfTheOldKey)
{
    Queued on;
    std::string const command = on.queue("urls.open");

    replaceKey(on.gateway);

    EXPECT_EQ(on.status(command), "canceled");
}

TEST(Reload, leavesTheKeyIfItIsTheSame)
{
    Queued on;
    std::string const command = on.queue("urls.open");
    auto const session = on.gateway.consoleSession();

    EXPECT_TRUE(reloaded(on.gateway).empty());

    EXPECT_EQ(on.status(command), "queued");
    EXPECT_EQ(on.gateway.call("GET", "/console/machines", "", {session}).status, 200);
}

TEST(Reload, keepsTheKeyIfTheNewOneCannotBeUsed)
{
    Gateway gateway;
    std::string const key = gateway.apiKey();
    std::filesystem::path const file = gateway.data() / "api-key";
    std::ofstream(file) << "short\n";
    EXPECT_THAT(reloaded(gateway), testing::ElementsAre(testing::HasSubstr("holds no usable key")));

    std::filesystem::remove(file);
    std::filesystem::create_symlink(file, file); // Can't be read, and must not be taken for a missing one.
    EXPECT_THAT(reloaded(gateway), testing::ElementsAre(testing::HasSubstr("cannot read " + file.string())));

    EXPECT_EQ(gateway.call("GET", "/v1/machines", "", with(key)).status, 200);
}

} // namespace
} // namespace zelvo::service
