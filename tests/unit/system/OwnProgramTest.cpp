#include "platform/linux/system/OwnProgram.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

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

TEST(OwnProgram, doesNotKnowAProgramThatIsOnlyCalledAsIfItHadBeenReplaced)
{
    std::filesystem::path const posed =
        std::filesystem::read_symlink("/proc/self/exe").string() + " (deleted)";
    std::filesystem::copy_file("/bin/sleep", posed, std::filesystem::copy_options::overwrite_existing);
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    pid_t const child = ::fork();
    if (child == 0) {
        ::execl(posed.c_str(), "sleep", "60", nullptr);
        ::_exit(1);
    }
    ::close(ends[1]);
    char nothing = 0;
    EXPECT_EQ(::read(ends[0], &nothing, 1), 0); // Its end of the pipe is closed once it runs.

    EXPECT_FALSE(runsOwnProgram(child));

    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(ends[0]);
    std::filesystem::remove(posed);
}

} // namespace
} // namespace zelvo
