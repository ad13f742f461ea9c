#include "platform/linux/X11Desktop.h"

#include "desktop/harness/PrivateDesktop.h"
#include "desktop/harness/XQuestions.h"
#include "desktop/x11/LiveContexts.h"
#include "fakes/FakeSecretStore.h"
#include "platform/linux/system/LinuxClock.h"

#include <gtest/gtest.h>

#include <sys/ioctl.h>
#include <sys/socket.h>

#include <charconv>
#include <set>

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;

constexpr int texts = 5;

pid_t peerOf(int descriptor)
{
    ucred peer{};
    socklen_t size = sizeof peer;
    return ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.pid : 0;
}

/// The sockets of this process to the X server.
std::set<int> socketsTo(pid_t server)
{
    std::set<int> sockets;
    for (auto const& entry : fs::directory_iterator("/proc/self/fd")) {
        std::string const name = entry.path().filename();
        int descriptor = -1;
        std::from_chars(name.data(), name.data() + name.size(), descriptor);
        if (peerOf(descriptor) == server)
            sockets.insert(descriptor);
    }
    return sockets;
}

/// Reads a connection's pending events; returns their number.
int takeEvents(xcb_connection_t* connection)
{
    int taken = 0;
    while (XReply<xcb_generic_event_t>(xcb_poll_for_event(connection)))
        ++taken;
    return taken;
}

class X11DesktopTest : public testing::Test {
protected:
    X11DesktopTest() { privateDesktop.adoptEnvironment(); }
    ~X11DesktopTest() override
    {
        desktop.reset();
        live.stop();
        clock.dropSleepers();
    }

    void start()
    {
        pid_t const server = peerOf(xcb_get_file_descriptor(observer.get()));
        std::set<int> const before = socketsTo(server);
        desktop.emplace(DesktopParts{contexts, clock, system, user, secrets});
        desktop->focus().activeWindow(); // Opens its connection.
        for (int const socket : socketsTo(server))
            if (!before.contains(socket))
                sockets.insert(socket);
    }
    /// Binds keys for a text that the layout lacks, then restores them. The server reports both to all
    /// clients, whether they asked or not.
    void borrowKeys()
    {
        live.run(desktop->events().beginText("Привет, мир"));
        live.run(desktop->events().endText());
    }
    /// The unread bytes that the server has sent on these connections.
    int unreadBytes() const
    {
        int sum = 0;
        for (int const socket : sockets) {
            int bytes = 0;
            EXPECT_EQ(::ioctl(socket, FIONREAD, &bytes), 0);
            sum += bytes;
        }
        return sum;
    }
    /// Returns when the agent's thread has handled everything that has arrived.
    void letAgentLook() const
    {
        constexpr int turns = 3; // Between two turns of its own work it looks at its descriptors.
        for (int i = 0; i < turns; ++i)
            asio::post(contexts.agent, asio::use_future).get();
    }

    PrivateDesktop privateDesktop{{.width = 800, .height = 600}};
    XConnection observer = connectTo(privateDesktop.display());
    LiveContexts live;
    Contexts contexts{live.contexts()};
    LinuxClock clock{contexts.agent};
    BusConnection system{contexts.agent, clock, openSystemBus};
    BusConnection user{contexts.agent, clock, openSessionBus};
    FakeSecretStore secrets;
    std::optional<X11Desktop> desktop;
    std::set<int> sockets;
};

TEST_F(X11DesktopTest, readsWhatTheServerSendsUnasked)
{
    start();
    ASSERT_GE(sockets.size(), 5U);

    for (int i = 0; i < texts; ++i)
        borrowKeys();

    EXPECT_TRUE(waitFor([&] { return unreadBytes() == 0; })) << unreadBytes();
}

TEST_F(X11DesktopTest, readsKeymapChangesOfOtherProgramsWhileNobodyTypes)
{
    start();
    privateDesktop.run({"setxkbmap", "de"});
    waitFor([&] { return unreadBytes() == 0; });

    for (int i = 0; i < 30; ++i)
        privateDesktop.run({"xmodmap", "-e", i % 2 ? "keycode 94 = U0436" : "keycode 94 = U0434"});

    EXPECT_TRUE(waitFor([&] { return unreadBytes() == 0; })) << unreadBytes();
}

TEST_F(X11DesktopTest, keepsNoEventsThatCameWithReplies)
{
    start();

    for (int i = 0; i < texts; ++i) {
        borrowKeys();
        desktop->connection()->sync(); // Reads the events along with the reply.
    }
    letAgentLook();

    int const sent = takeEvents(observer.get()); // It has read none so far.
    ASSERT_GE(sent, texts);
    EXPECT_LT(takeEvents(desktop->connection()->get()),
              sent / 2); // Those of the last text may still be there.
}

} // namespace
} // namespace zelvo::test
