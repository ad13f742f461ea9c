// The network path against the kernel's real routes, in a separate network namespace.
#include "base/Clock.h"
#include "platform/linux/system/RtnetlinkPath.h"

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace zelvo {

namespace {

constexpr int cannot = 77;

bool enterOwnNetwork()
{
    return ::unshare(CLONE_NEWNET) == 0 || ::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0;
}

/// The test's steps; runs in a separate process and returns its exit code.
class Scene {
public:
    bool ip(std::string const& words)
    {
        std::string const command = "ip " + words + " 2>/dev/null";
        return std::system(command.c_str()) == 0; // NOLINT(cert-env33-c): only commands of this test.
    }

    /// Runs until the expected reports have arrived, and a little longer to check that no more follow.
    bool hasTold(std::vector<bool> const& wanted)
    {
        auto const end = std::chrono::steady_clock::now() + 5s;
        while (told.size() < wanted.size() && std::chrono::steady_clock::now() < end)
            io.run_one_for(std::chrono::milliseconds(100));
        io.run_for(std::chrono::milliseconds(50));
        io.restart();
        return told == wanted;
    }

    int play()
    {
        if (!enterOwnNetwork() || !ip("link set lo up") || !ip("addr add 10.1.1.1/24 dev lo"))
            return cannot;
        path.start("gateway.example", [this](bool satisfied) { told.push_back(satisfied); });
        if (!hasTold({false}))
            return 1;
        if (!ip("route add 10.2.0.0/16 via 10.1.1.2") || !hasTold({false}))
            return 2; // A route, but no default.
        if (!ip("route add default via 10.1.1.2") || !hasTold({false, true}))
            return 3;
        if (!ip("route add default via 10.1.1.3 metric 9") || !ip("route del default metric 0") ||
            !hasTold({false, true}))
            return 4; // The other one is still there.
        if (!ip("route del default") || !hasTold({false, true, false}))
            return 5;
        if (!ip("route add default via 10.1.1.2") || !hasTold({false, true, false, true}))
            return 6;
        if (!ip("link set lo down") || !hasTold({false, true, false, true, false}))
            return 7; // The kernel does not report the IPv4 routes that disappear with a link.
        if (!ip("link set lo up") || !ip("route add default via 10.1.1.2") ||
            !hasTold({false, true, false, true, false, true}))
            return 8;
        if (!ip("route del default") || !ip("route add unreachable default") ||
            !hasTold({false, true, false, true, false, true, false}))
            return 9;
        return 0;
    }

private:
    asio::io_context io;
    RtnetlinkPath path{io.get_executor()};
    std::vector<bool> told;
};

TEST(NetworkNamespace, thePathFollowsTheDefaultRoute)
{
    pid_t const child = ::fork();
    if (child == 0)
        ::_exit(Scene().play());
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));

    if (WEXITSTATUS(status) == cannot)
        GTEST_SKIP() << "this system lets a test make no network of its own, or has no ip";
    EXPECT_EQ(WEXITSTATUS(status), 0) << "the step of the scene that went wrong";
}

} // namespace

} // namespace zelvo
