#include "drivers/ShellRunner.h"
#include "platform/linux/system/LinuxClock.h"
#include "unit/system/ChildrenTest.h"
#include "wire/AgentError.h"

#include <gmock/gmock.h>

#include <csignal>
#include <list>

namespace zelvo {
namespace {

using testing::StartsWith;

constexpr std::size_t limit = 1024UL * 1024;

/// The runner on the real shell, with a short grace period and an empty home, so no personal profile runs.
class ZshTest : public ChildrenTest {
protected:
    using Variables = std::map<std::string, std::string>;

    Task<ShellRunResult> task(std::string command, std::int64_t timeoutMs = 30000, Variables env = {})
    {
        env.emplace("HOME", folder.path.string());
        return runner.run(std::move(command), folder.path.string(), timeoutMs, std::move(env));
    }
    ShellRunResult run(std::string command, std::int64_t timeoutMs = 30000, Variables env = {})
    {
        return wait(task(std::move(command), timeoutMs, std::move(env)));
    }
    std::string file(std::string const& name) const { return (folder.path / name).string(); }

    /// Starts a command in the background; its result is added to `results`.
    void begin(std::string command, std::int64_t timeoutMs = 30000)
    {
        spawn(io.get_executor(), [this, timeoutMs, command = std::move(command)]() -> Task<> {
            try {
                results.push_back(co_await task(command, timeoutMs));
            } catch (AgentError const& error) {
                refusals.push_back(error);
            }
        });
    }

    Task<bool> pause(Duration time)
    {
        co_await clock.sleep(time);
        co_return true;
    }

    TemporaryFolder folder;
    LinuxClock clock{io.get_executor()};
    ShellRunner runner{contexts(), clock, children, {.sigtermGrace = 300ms}};
    std::list<ShellRunResult> results;
    std::list<AgentError> refusals;
};

TEST_F(ZshTest, runsALoginShellThatTakesAnySyntax)
{
    writeFile(folder.path / ".zprofile", "export FROM_PROFILE=yes\n");
    ShellRunResult const result =
        run("[[ -o login ]] && print $FROM_PROFILE ${(L)ZSH_NAME} | tr s z; echo bad >&2; exit 3");
    EXPECT_EQ(result.standardOutput, "yez zzh\n");
    EXPECT_EQ(result.standardError, "bad\n");
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_FALSE(result.timedOut);
    EXPECT_FALSE(result.truncated);
}

TEST_F(ZshTest, emptyCommandSucceeds)
{
    EXPECT_EQ(run("").exitCode, 0);
}

TEST_F(ZshTest, readsAnEmptyInput)
{
    ShellRunResult const result = run("read x; echo $?");
    EXPECT_EQ(result.standardOutput, "1\n");
}

TEST_F(ZshTest, givenVariablesReplaceAndTheOthersStay)
{
    ASSERT_EQ(::setenv("ZELVO_INHERITED", "ours", 1), 0);
    ShellRunResult const result = run("print -r -- $VAR $ZELVO_INHERITED; printenv PATH", 30000,
                                      {{"VAR", "x y"}, {"PATH", "/x:/usr/bin"}});
    ::unsetenv("ZELVO_INHERITED");
    EXPECT_THAT(result.standardOutput, StartsWith("x y ours\n/x:/usr/bin")); // A profile may append to PATH.
}

TEST_F(ZshTest, fifthCommandIsRefusedWhileFourRun)
{
    for (int at = 0; at < 4; ++at)
        begin("while [[ ! -e go ]]; do sleep 0.02; done; exit 4");
    begin("true");
    until([&] { return !refusals.empty(); });
    EXPECT_EQ(refusals.front(), AgentError::machineBusy);
    EXPECT_TRUE(results.empty());
    writeFile(folder.path / "go", "");
    until([&] { return results.size() == 4; });
    for (ShellRunResult const& result : results)
        EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(run("echo next").standardOutput, "next\n");
}

TEST_F(ZshTest, timeOutEndsTheCommandBySigterm)
{
    ShellRunResult const result = run("sleep 100", 150);
    EXPECT_TRUE(result.timedOut);
    EXPECT_EQ(result.exitCode, SIGTERM);
    EXPECT_GE(result.durationMs, 150);
    EXPECT_LT(result.durationMs, 10000);
}

TEST_F(ZshTest, timeOutEndsTheWholeGroupBySigkillAfterTheGrace)
{
    ShellRunResult const result =
        run("trap '' TERM; (trap '' TERM; echo in; sleep 100; sleep 100) | cat & sleep 100; sleep 100", 1500);
    EXPECT_TRUE(result.timedOut);
    EXPECT_EQ(result.exitCode, SIGKILL);
    EXPECT_EQ(result.standardOutput, "in\n");
    EXPECT_GE(result.durationMs, 1800);
    EXPECT_LT(result.durationMs, 10000);
}

TEST_F(ZshTest, backgroundJobHoldsTheReplyUntilTheSignalsReachIt)
{
    ShellRunResult const result = run("sleep 100 & echo $!", 1500);
    EXPECT_TRUE(result.timedOut);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_GE(result.durationMs, 1500);
    EXPECT_LT(result.durationMs, 10000);
    pid_t const job = std::stoi(result.standardOutput);
    until([&] { return stateOf(job).value_or('Z') == 'Z'; });
}

TEST_F(ZshTest, backgroundJobWithoutTheOutputsHoldsNothing)
{
    ShellRunResult const result = run("sleep 100 >/dev/null 2>&1 & echo $!", 30000);
    EXPECT_FALSE(result.timedOut);
    EXPECT_LT(result.durationMs, 10000);
    pid_t const job = std::stoi(result.standardOutput);
    EXPECT_EQ(::kill(job, 0), 0); // It still runs, like a service that the agent has started.
    ::kill(job, SIGKILL);
}

TEST_F(ZshTest, daemonOutsideOfTheGroupHoldsTheReplyAsLongAsItHoldsTheOutputs)
{
    begin("setsid sh -c 'while [ ! -e go ]; do sleep 0.02; done' & echo here", 1000);
    wait(pause(1500ms)); // Both signals have been sent.
    EXPECT_TRUE(results.empty());
    writeFile(folder.path / "go", "");
    until([&] { return !results.empty(); });
    EXPECT_EQ(results.front().standardOutput, "here\n");
    EXPECT_EQ(results.front().exitCode, 0);
    EXPECT_GE(results.front().durationMs, 1500);
}

TEST_F(ZshTest, commandThatClosesItsOutputsEarlyIsWaitedFor)
{
    ShellRunResult const result = run("exec >&- 2>&-; sleep 0.2; exit 9");
    EXPECT_EQ(result.exitCode, 9);
    EXPECT_GE(result.durationMs, 200);
}

TEST_F(ZshTest, longOutputIsCutDrainedAndItsCodeKept)
{
    ShellRunResult const result = run("head -c 2097152 /dev/zero | tr '\\0' a; exit 5");
    EXPECT_EQ(result.standardOutput, std::string(limit, 'a'));
    EXPECT_TRUE(result.truncated);
    EXPECT_EQ(result.exitCode, 5);
}

TEST_F(ZshTest, outputOfTheLimitCountsAsCutAndOneByteLessDoesNot)
{
    ShellRunResult result = run("head -c 1048576 /dev/zero | tr '\\0' a >&2");
    EXPECT_EQ(result.standardError.size(), limit);
    EXPECT_TRUE(result.truncated);
    result = run("head -c 1048575 /dev/zero | tr '\\0' a");
    EXPECT_EQ(result.standardOutput.size(), limit - 1);
    EXPECT_FALSE(result.truncated);
}

TEST_F(ZshTest, endlessOutputEndsWithTheTime)
{
    ShellRunResult const result = run("yes", 1500);
    EXPECT_TRUE(result.timedOut);
    EXPECT_EQ(result.exitCode, SIGTERM);
    EXPECT_EQ(result.standardOutput.size(), limit);
}

TEST_F(ZshTest, whileCommandsPourOutOthersGetTheirTurns)
{
    for (int at = 0; at < 3; ++at)
        begin("timeout 0.6 yes");
    int turns = 0;
    bool stopped = false;
    spawn(io.get_executor(), [&]() -> Task<> {
        while (!stopped) {
            co_await clock.sleep(5ms);
            ++turns;
        }
    });
    EXPECT_EQ(run("echo beside").standardOutput, "beside\n");
    until([&] { return results.size() == 3; });
    stopped = true;
    EXPECT_GT(turns, 10);
}

TEST_F(ZshTest, brokenTextIsRepaired)
{
    EXPECT_EQ(run("printf 'a\\377b'").standardOutput, "a\ufffdb");
}

TEST_F(ZshTest, folderThatIsNoneFailsAndGivesThePlaceBack)
{
    writeFile(folder.path / "file", "");
    for (std::string const& cwd : {std::string("/nowhere"), file("file"), std::string("a\0b", 3)})
        for (int at = 0; at < 5; ++at)
            EXPECT_THROW(wait(runner.run("touch " + file("trace"), cwd, 1000, {})), LaunchFailure);
    EXPECT_FALSE(std::filesystem::exists(file("trace")));
    EXPECT_EQ(run("pwd -P").standardOutput, std::filesystem::canonical(folder.path).string() + "\n");
}

} // namespace
} // namespace zelvo
