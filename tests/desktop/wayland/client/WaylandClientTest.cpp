#include "platform/linux/wayland/client/WaylandClient.h"

#include "desktop/wayland/harness/PrivateSway.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/wayland/client/WaylandEvents.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

namespace zelvo::test {
namespace {

using Clock = std::chrono::steady_clock;

class ClientOfSway : public testing::Test {
protected:
    std::unique_ptr<PrivateSway> sway;
    LiveContexts live;

    void SetUp() override
    {
        if (auto const reason = PrivateSway::missing(); !reason.empty())
            GTEST_SKIP() << reason;
        sway = std::make_unique<PrivateSway>();
        sway->adoptEnvironment();
    }
    void TearDown() override { live.stop(); }
};

TEST_F(ClientOfSway, listsTheGlobals)
{
    auto const client = WaylandClient::open();

    ASSERT_TRUE(client);
    EXPECT_TRUE(client->isAlive());
    ASSERT_TRUE(client->find("wl_output"));
    EXPECT_GE(client->find("wl_output")->version, 3u);
    EXPECT_TRUE(client->find("zwlr_screencopy_manager_v1"));
    EXPECT_FALSE(client->find("zwlr_"));
    EXPECT_TRUE(client->roundtrip());
}

TEST_F(ClientOfSway, opensASocketByItsNameOrPath)
{
    EXPECT_TRUE(WaylandClient::open(sway->socket().string()));
    EXPECT_TRUE(WaylandClient::open(sway->socket().filename().string()));
    EXPECT_FALSE(WaylandClient::open("wayland-none"));
    EXPECT_FALSE(WaylandClient::open(std::string(200, 'w')));
}

TEST_F(ClientOfSway, reportsNewGlobals)
{
    auto const client = WaylandClient::open();
    int outputs = 0;
    client->observeGlobals([&](WaylandGlobal const& global) { outputs += global.interface == "wl_output"; },
                           [](WaylandGlobal const&) {});
    ASSERT_EQ(outputs, 1);

    sway->command("create_output");

    EXPECT_TRUE(client->dispatchUntil([&] { return outputs == 2; }, 5s));
}

TEST_F(ClientOfSway, doesNotHangWhenTheCompositorStops)
{
    auto const client = WaylandClient::open();
    ::kill(sway->compositor(), SIGSTOP);

    auto const before = Clock::now();
    EXPECT_FALSE(client->roundtrip(100ms));
    EXPECT_FALSE(WaylandClient::open({}, 100ms));
    EXPECT_LT(Clock::now() - before, 2s);
    EXPECT_TRUE(client->isAlive());

    ::kill(sway->compositor(), SIGCONT);
    EXPECT_TRUE(client->roundtrip(5s));
}

TEST_F(ClientOfSway, isLostWithTheCompositor)
{
    auto const client = WaylandClient::open();

    sway->kill();

    EXPECT_FALSE(client->roundtrip());
    EXPECT_FALSE(client->isAlive());
    EXPECT_FALSE(client->roundtrip());
    EXPECT_FALSE(WaylandClient::open());
}

TEST_F(ClientOfSway, reportsTheLossOnceOnTheAgent)
{
    auto const client = WaylandClient::open();
    std::atomic<int> lost = 0;
    std::atomic<std::thread::id> thread;
    WaylandEvents events(live.contexts(), client, nullptr, [&] {
        thread = std::this_thread::get_id();
        ++lost;
    });
    std::atomic<bool> asked = false;
    events.request([&] { asked = true; });
    ASSERT_TRUE(waitFor([&] { return asked.load(); }));
    EXPECT_EQ(lost, 0);

    sway->kill();

    EXPECT_TRUE(waitFor([&] { return lost == 1; }));
    EXPECT_NE(thread.load(), std::this_thread::get_id());
    EXPECT_FALSE(client->isAlive());
    asked = false;
    events.request([&] { asked = true; });
    live.run([]() -> Task<> { co_return; }());
    EXPECT_FALSE(asked);
    EXPECT_EQ(lost, 1);
}

TEST_F(ClientOfSway, letsKeptObjectsGoOnTheAgent)
{
    std::atomic<std::thread::id> thread;
    {
        std::shared_ptr<void> kept(nullptr, [&](void*) { thread = std::this_thread::get_id(); });
        WaylandEvents const events(live.contexts(), WaylandClient::open(), std::move(kept));
    }

    EXPECT_TRUE(waitFor([&] { return thread.load() != std::thread::id(); }));
    EXPECT_NE(thread.load(), std::this_thread::get_id());
}

/// A socket that nobody accepts from.
TEST(WaylandClientAlone, doesNotHangOnASocketThatIsNotAnswered)
{
    PrivateSession const session;
    auto const path = (session.runtimeFolder() / "silent").string();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    int const descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(::bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(descriptor, 0), 0);

    auto const before = Clock::now();
    for (int i = 0; i < 4; ++i) // More than the queue of the socket takes.
        EXPECT_FALSE(WaylandClient::open(path, 50ms));
    EXPECT_LT(Clock::now() - before, 2s);
    ::close(descriptor);
}

} // namespace
} // namespace zelvo::test
