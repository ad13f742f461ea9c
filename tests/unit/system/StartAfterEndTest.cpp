#include "platform/linux/system/StartAfterEnd.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace zelvo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// A process that runs until it is ended.
class RunningProcess {
public:
    RunningProcess() : pid(::fork())
    {
        if (pid == 0)
            for (;;)
                ::pause();
    }
    ~RunningProcess() { end(); }
    RunningProcess(RunningProcess const&) = delete;
    RunningProcess& operator=(RunningProcess const&) = delete;

    void end()
    {
        if (pid <= 0)
            return;
        kill();
        ::waitpid(pid, nullptr, 0);
        pid = 0;
    }
    /// Ends it and leaves it to be reaped.
    void kill() const { ::kill(pid, SIGKILL); }

    pid_t pid;
};

bool appears(fs::path const& file)
{
    for (int i = 0; i < 100 && !fs::exists(file); ++i)
        std::this_thread::sleep_for(100ms); // A process that is not our child writes it.
    return fs::exists(file);
}

class StartAfterEndTest : public testing::Test {
protected:
    void SetUp() override { ::setenv("ZELVO_TEST_VALUE", "inherited", 1); }
    /// A program that writes down how it was started.
    fs::path writeProgram(std::string const& name)
    {
        fs::path const program = folder.path / name;
        writeFile(program, "#!/bin/sh\nprintf '%s|' \"$#\" \"$ZELVO_TEST_VALUE\" \"$0\" > '" +
                               (folder.path / "new").string() + "'\nmv '" + (folder.path / "new").string() +
                               "' '" + written.string() + "'\n");
        ::chmod(program.c_str(), S_IRWXU);
        return program;
    }

    TemporaryFolder folder;
    fs::path written = folder.path / "written";
};

TEST_F(StartAfterEndTest, waitsForTheEnd)
{
    fs::path const program = writeProgram("program");
    RunningProcess process;

    ASSERT_TRUE(startAfterEndOf(process.pid, program));

    std::this_thread::sleep_for(500ms); // The shell looks five times a second.
    EXPECT_FALSE(fs::exists(written));
    process.end();
    ASSERT_TRUE(appears(written));
    EXPECT_EQ(contentOf(written), "0|inherited|" + program.string() + "|");
}

TEST_F(StartAfterEndTest, takesAnyPathAsItIs)
{
    fs::path const program = writeProgram("a b; $(touch hit) \"'\\ %u \n-x");
    RunningProcess process;
    ASSERT_TRUE(startAfterEndOf(process.pid, program));

    process.end();

    ASSERT_TRUE(appears(written));
    EXPECT_EQ(contentOf(written), "0|inherited|" + program.string() + "|");
    EXPECT_FALSE(fs::exists("hit"));
}

TEST_F(StartAfterEndTest, doesNotWaitForTheParentOfTheEnded)
{
    fs::path const program = writeProgram("program");
    RunningProcess const process;
    ASSERT_TRUE(startAfterEndOf(process.pid, program));

    process.kill();

    EXPECT_TRUE(appears(written));
}

TEST_F(StartAfterEndTest, refusesAPathThatNoProgramCanHave)
{
    EXPECT_FALSE(startAfterEndOf(::getpid(), std::string("/bin/tr\0ue", 10)));
}

} // namespace
} // namespace zelvo
