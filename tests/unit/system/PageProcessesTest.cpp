#include "platform/linux/system/PageProcesses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>

namespace zelvo {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

/// A process that waits under the name of another program.
class Sleeper {
public:
    Sleeper(char const* name, char const* time) : pid(::fork())
    {
        if (pid != 0)
            return;
        ::execl("/bin/sleep", name, time, nullptr);
        ::_exit(1);
    }
    ~Sleeper()
    {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
    Sleeper(Sleeper const&) = delete;
    Sleeper& operator=(Sleeper const&) = delete;

    pid_t const pid;
};

/// Until the processes have started their programs; at most ten seconds.
std::vector<std::int32_t> pagesOnceThere(std::int32_t pid)
{
    auto const end = std::chrono::steady_clock::now() + 10s;
    auto pages = pageProcessesOf(pid);
    while (pages.empty() && std::chrono::steady_clock::now() < end)
        pages = pageProcessesOf(pid);
    return pages;
}

TEST(PageProcesses, areFoundByTheirCommandLines)
{
    Sleeper const other("editor", "60");
    Sleeper const page("/usr/lib/WebKitWebProcess", "60");

    EXPECT_THAT(pagesOnceThere(::getpid()), ElementsAre(page.pid));
}

TEST(PageProcesses, areFoundBelowOtherProcesses)
{
    pid_t const parent = ::fork();
    if (parent == 0) {
        ::setpgid(0, 0);
        if (::fork() == 0)
            ::execl("/bin/sleep", "chrome --type=renderer", "60", nullptr);
        while (true)
            ::pause();
    }
    auto const pages = pagesOnceThere(::getpid());
    bool const isBelow = pages.size() == 1 && pages.front() != parent;
    ::kill(-parent, SIGKILL);
    ::waitpid(parent, nullptr, 0);

    EXPECT_TRUE(isBelow);
}

TEST(PageProcesses, areNoneInAProcessThatHasNone)
{
    Sleeper const other("terminal", "60");

    EXPECT_THAT(pageProcessesOf(::getpid()), IsEmpty());
    EXPECT_THAT(pageProcessesOf(-1), IsEmpty());
}

} // namespace
} // namespace zelvo
