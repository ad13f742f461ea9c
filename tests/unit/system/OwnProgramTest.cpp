#include "platform/linux/system/OwnProgram.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace zelvo {
namespace {

TEST(OwnProgram, knowsItselfAndItsChildren)
{
    EXPECT_TRUE(runsOwnProgram(::getpid()));
    pid_t const child = ::fork();
    if (child == 0)
        for (;;)
            ::pause();
    EXPECT_TRUE(runsOwnProgram(child));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_FALSE(runsOwnProgram(child));
}

TEST(OwnProgram, knowsAnotherProgramWhateverItCallsItself)
{
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    pid_t const child = ::fork();
    if (child == 0) {
        ::execl("/bin/sleep", "zelvo-agent", "60", nullptr);
        ::_exit(1);
    }
    ::close(ends[1]);
    char nothing = 0;
    EXPECT_EQ(::read(ends[0], &nothing, 1), 0); // Its end of the pipe is closed once it runs.
    EXPECT_FALSE(runsOwnProgram(child));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(ends[0]);
}

} // namespace
} // namespace zelvo
