#include "platform/linux/wayland/ClientSockets.h"

#include "platform/portable/files/UniqueFd.h"

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace zelvo {
namespace {

namespace fs = std::filesystem;

/// A child process that is connected to a socket until the end of this object.
class Client {
public:
    explicit Client(std::string const& path)
    {
        int ready[2]{};
        int end[2]{};
        if (::pipe(ready) != 0 || ::pipe(end) != 0)
            throw std::runtime_error("pipe");
        child = ::fork();
        if (child == 0)
            live(path, ready[1], end);
        ::close(ready[1]);
        ::close(end[0]);
        char byte = 0;
        bool const isConnected = ::read(ready[0], &byte, 1) == 1;
        ::close(ready[0]);
        endPipe = UniqueFd(end[1]);
        if (!isConnected)
            throw std::runtime_error("the client did not connect");
    }
    ~Client()
    {
        endPipe.reset();
        int status = 0;
        ::waitpid(child, &status, 0);
    }
    Client(Client const&) = delete;
    Client& operator=(Client const&) = delete;

    pid_t pid() const { return child; }

private:
    [[noreturn]] static void live(std::string const& path, int ready, int const* end)
    {
        ::close(end[1]);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        int const connected = ::socket(AF_UNIX, SOCK_STREAM, 0);
        if (::connect(connected, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            ::_exit(1);
        char byte = 1;
        if (::write(ready, &byte, 1) != 1)
            ::_exit(1);
        [[maybe_unused]] auto const ended = ::read(end[0], &byte, 1);
        ::_exit(0);
    }

    pid_t child = -1;
    UniqueFd endPipe;
};

class ClientSocketsTest : public testing::Test {
protected:
    ClientSocketsTest()
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path().copy(address.sun_path, sizeof address.sun_path - 1);
        listener = UniqueFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(listener.get(), 8) != 0)
            throw std::runtime_error("cannot listen");
    }
    ~ClientSocketsTest() override { fs::remove_all(folder); }

    std::string path() const { return folder / "compositor"; }
    UniqueFd accept() { return UniqueFd(::accept(listener.get(), nullptr, nullptr)); }
    bool knows(std::int32_t pid)
    {
        auto const processes = clients.processes();
        return processes && std::ranges::find(*processes, pid) != processes->end();
    }

    static fs::path newFolder()
    {
        std::string pattern = "/tmp/zelvo-clients-XXXXXX";
        return ::mkdtemp(pattern.data());
    }

    fs::path const folder = newFolder();
    UniqueFd listener;
    ClientSockets clients{{path()}, std::nullopt};
};

TEST_F(ClientSocketsTest, knowsWhoIsConnected)
{
    Client const client(path());
    UniqueFd const accepted = accept();

    EXPECT_TRUE(knows(client.pid()));
    EXPECT_FALSE(knows(::getppid()));
}

TEST_F(ClientSocketsTest, forgetsWhoHasEnded)
{
    std::int32_t pid = 0;
    UniqueFd accepted;
    {
        Client const client(path());
        accepted = accept();
        pid = client.pid();
        ASSERT_TRUE(knows(pid));
    }

    EXPECT_FALSE(knows(pid));
    EXPECT_TRUE(clients.processes()->empty());
}

TEST_F(ClientSocketsTest, knowsWhoIsConnectedElsewhereOnlyThere)
{
    Client const client(path());
    UniqueFd const accepted = accept();
    ClientSockets others({(folder / "another").string()}, std::nullopt);

    EXPECT_TRUE(others.processes()->empty());
}

TEST_F(ClientSocketsTest, countsWhatTheCompositorIsConnectedToByItself)
{
    // As for a program that the compositor started with a descriptor of its own.
    int ends[2]{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    int ready[2]{};
    ASSERT_EQ(::pipe(ready), 0);
    pid_t const child = ::fork();
    if (child == 0) {
        ::close(ends[0]);
        char byte = 1;
        [[maybe_unused]] auto const written = ::write(ready[1], &byte, 1);
        [[maybe_unused]] auto const ended = ::read(ends[1], &byte, 1);
        ::_exit(0);
    }
    ::close(ends[1]);
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    ClientSockets ours({path()}, ::getpid());

    auto const processes = ours.processes();

    ASSERT_TRUE(processes.has_value());
    EXPECT_NE(std::ranges::find(*processes, child), processes->end());
    EXPECT_EQ(std::ranges::find(*processes, ::getpid()), processes->end());
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    ::close(ready[0]);
    ::close(ready[1]);
}

} // namespace
} // namespace zelvo
