#include "platform/linux/system/OwnProgram.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

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

/// Another program, under any name.
class StartedProgram {
public:
    StartedProgram(std::string const& file, char const* name)
    {
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        process = ::fork();
        if (process == 0) {
            ::execl(file.c_str(), name, "60", nullptr);
            ::_exit(1);
        }
        ::close(ends[1]);
        char nothing = 0;
        EXPECT_EQ(::read(ends[0], &nothing, 1), 0); // Its end of the pipe is closed once it runs.
        ::close(ends[0]);
    }
    ~StartedProgram()
    {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }
    StartedProgram(StartedProgram const&) = delete;
    StartedProgram& operator=(StartedProgram const&) = delete;

    pid_t process = 0;
};

TEST(OwnProgram, knowsAnotherProgramWhateverItCallsItself)
{
    StartedProgram const other("/bin/sleep", "zelvo-agent");

    EXPECT_FALSE(runsOwnProgram(other.process));
}

TEST(OwnProgram, doesNotKnowAProgramThatIsOnlyCalledAsIfItHadBeenReplaced)
{
    namespace fs = std::filesystem;
    std::string const posed = fs::read_symlink("/proc/self/exe").string() + " (deleted)";
    fs::copy_file("/bin/sleep", posed, fs::copy_options::overwrite_existing);
    {
        StartedProgram const other(posed, "sleep");

        EXPECT_EQ(::kill(other.process, 0), 0); // It runs.
        EXPECT_FALSE(runsOwnProgram(other.process));
    }
    fs::remove(posed);
}

} // namespace
} // namespace zelvo
