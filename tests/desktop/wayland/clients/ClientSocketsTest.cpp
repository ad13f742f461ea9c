#include "platform/linux/wayland/ClientSockets.h"

#include "desktop/wayland/harness/PrivateSway.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <set>

namespace zelvo::test {
namespace {

using Processes = std::set<std::int32_t>;

Processes processesOf(ClientSockets& clients)
{
    auto const all = clients.processes();
    EXPECT_TRUE(all);
    return all ? Processes(all->begin(), all->end()) : Processes();
}

/// This process listens as a compositor would.
class OwnSocket : public testing::Test {
protected:
    PrivateSession session;
    std::string const path = session.runtimeFolder() / "wayland-7";
    int listening = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::vector<int> accepted;

    void SetUp() override
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, path.c_str());
        ASSERT_EQ(::bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ASSERT_EQ(::listen(listening, 8), 0);
    }
    void TearDown() override
    {
        for (int const socket : accepted)
            ::close(socket);
        ::close(listening);
    }

    /// Starts a program that connects and stays.
    pid_t connect(std::vector<std::string> command = {})
    {
        for (char const* const part : {"/usr/bin/python3", "-c",
                                       "import socket, sys, time\n"
                                       "s = socket.socket(socket.AF_UNIX)\n"
                                       "s.connect(sys.argv[1])\n"
                                       "time.sleep(1000)"})
            command.emplace_back(part);
        command.push_back(path);
        pid_t const pid = session.start(command);
        accepted.push_back(::accept4(listening, nullptr, nullptr, SOCK_CLOEXEC));
        return pid;
    }
};

TEST_F(OwnSocket, hasTheProcessesThatAreConnected)
{
    ClientSockets clients(path, "");
    EXPECT_EQ(processesOf(clients), Processes{});

    pid_t const first = connect();
    pid_t const second = connect();
    EXPECT_EQ(processesOf(clients), (Processes{first, second}));

    session.processes().end(first, SIGTERM);
    EXPECT_EQ(processesOf(clients), Processes{second});
}

TEST_F(OwnSocket, hasProcessesOfOtherNamespaces)
{
    ClientSockets clients(path, "");
    try {
        session.run({"unshare", "--user", "--map-root-user", "--net", "--pid", "--fork", "true"});
    } catch (std::runtime_error const&) {
        GTEST_SKIP() << "needs user namespaces";
    }

    connect({"unshare", "--user", "--map-root-user", "--net"});
    pid_t const inOtherPids =
        connect({"unshare", "--user", "--map-root-user", "--net", "--pid", "--fork", "--kill-child"});

    Processes const found = processesOf(clients);
    EXPECT_EQ(found.size(), 2u);
    EXPECT_FALSE(found.contains(inOtherPids)); // It is the parent of the program, without a connection.
}

TEST_F(OwnSocket, isUnknownWhenNobodyListens)
{
    EXPECT_FALSE(ClientSockets(path + "-none", "").processes());
}

TEST(ClientsOfSway, areItsProgramsAndThoseOfItsXServer)
{
    if (auto const reason = PrivateSway::missing(); !reason.empty())
        GTEST_SKIP() << reason;
    PrivateSway sway({.xwayland = true});
    ClientSockets clients(sway.socket(), sway.environment().at("DISPLAY"),
                          {sway.environment().at("SWAYSOCK")});
    EXPECT_EQ(processesOf(clients), Processes{});

    pid_t const terminal = sway.start({"foot", "sleep", "1000"});
    pid_t const form = sway.start(PrivateSway::asUserOfCompositor({"/usr/bin/python3", ZELVO_SWAY_TEST_FOLDER
                                                                   "/gtk_parent_and_dialog.py"}),
                                  {{"GDK_BACKEND", "x11"}});

    EXPECT_TRUE(waitFor([&] { return processesOf(clients) == Processes{terminal, form}; }))
        << testing::PrintToString(processesOf(clients)) << terminal << ' ' << form;
    EXPECT_TRUE(sway.processes().isRunning(form));
    sway.processes().end(form, SIGTERM);
    EXPECT_TRUE(waitFor([&] { return processesOf(clients) == Processes{terminal}; }));

    sway.kill();
    EXPECT_FALSE(clients.processes());
}

} // namespace
} // namespace zelvo::test
