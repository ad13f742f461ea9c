#include "platform/linux/system/ProcessStat.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>

namespace zelvo {
namespace {

using namespace std::chrono_literals;

/// A child process that runs a function continuously.
class Child {
public:
    explicit Child(void (*what)()) : pid(::fork())
    {
        while (pid == 0)
            what();
    }
    ~Child() { end(); }
    Child(Child const&) = delete;
    Child& operator=(Child const&) = delete;

    void end() const
    {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }
    /// Polls for at most ten seconds.
    bool becomes(std::function<bool(ProcessActivity const&)> const& condition) const
    {
        for (auto const end = std::chrono::steady_clock::now() + 10s; std::chrono::steady_clock::now() < end;)
            if (auto const activity = activityOfProcess(pid); activity && condition(*activity))
                return true;
        return false;
    }

    pid_t const pid;
};

TEST(ProcessStat, knowsAWaitingProcess)
{
    Child const child([] { ::pause(); });

    EXPECT_TRUE(child.becomes([](ProcessActivity const& activity) { return activity.isAtRest; }));
}

TEST(ProcessStat, knowsABusyProcessAndItsCpuTime)
{
    Child const child([] {});

    EXPECT_TRUE(child.becomes(
        [](ProcessActivity const& activity) { return !activity.isAtRest && activity.used >= 30ms; }));
}

TEST(ProcessStat, knowsWhenAProcessStarted)
{
    auto const before = sinceBoot();
    Child const child([] { ::pause(); });
    auto const start = startOfProcess(child.pid);

    ASSERT_TRUE(start);
    EXPECT_GE(*start, before - 20ms);
    EXPECT_LE(*start, sinceBoot());
}

TEST(ProcessStat, givesTheSameStartWheneverItIsAsked)
{
    auto const first = startDateOfProcess(::getpid());
    ASSERT_TRUE(first);
    EXPECT_LE(*first, std::chrono::system_clock::now());
    EXPECT_GE(*first, std::chrono::system_clock::now() - 1h);

    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(startDateOfProcess(::getpid()), first);
}

TEST(ProcessStat, knowsNothingOfAnEndedProcess)
{
    Child child([] { ::pause(); });
    child.end();

    EXPECT_FALSE(activityOfProcess(child.pid));
    EXPECT_FALSE(startOfProcess(child.pid));
    EXPECT_FALSE(startDateOfProcess(child.pid));
}

} // namespace
} // namespace zelvo
