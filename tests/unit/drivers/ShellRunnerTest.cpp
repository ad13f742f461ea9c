#include "drivers/ShellRunner.h"

#include "fakes/FakePlatform.h"
#include "wire/AgentError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <list>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

constexpr std::size_t limit = 1024UL * 1024;

/// A runner on children in memory. The test plays the command.
class ShellRunnerTest : public testing::Test {
protected:
    struct Reply {
        std::optional<ShellRunResult> result;
        std::optional<AgentError> refusal;
        std::optional<std::string> launchFailure;
        TaskHandle task;

        bool isThere() const { return result || refusal || launchFailure; }
    };

    /// Ends all running commands, because a command and its waiters hold each other.
    void TearDown() override
    {
        for (auto const& each : platform.processes.children)
            each->end(0);
        platform.settle();
        platform.time.dropSleepers();
        platform.settle();
    }

    using Variables = std::optional<std::map<std::string, std::string>>;

    Reply& begin(std::string command,
                 std::int64_t timeoutMs = 60000,
                 std::optional<std::string> cwd = {},
                 Variables env = {})
    {
        Reply& reply = replies.emplace_back();
        reply.task = spawn(platform.contexts.agent, [=, this, &reply]() -> Task<> {
            try {
                reply.result = co_await runner.run(command, cwd, timeoutMs, env);
            } catch (AgentError const& error) {
                reply.refusal = error;
            } catch (LaunchFailure const& failure) {
                reply.launchFailure = failure.what();
            }
        });
        platform.settle();
        return reply;
    }

    FakeChild& child() { return platform.processes.last(); }
    void advance(Duration duration) { platform.time.advance(duration); }

    /// Ends a child and returns the reply's result.
    ShellRunResult resultOf(Reply& reply, std::int32_t code = 0)
    {
        child().end(code);
        platform.settle();
        return reply.result.value();
    }

    FakePlatform platform;
    std::list<Reply> replies;
    ShellRunner runner{platform.contexts, platform.time, platform.processes};
};

TEST_F(ShellRunnerTest, startsTheLoginShell)
{
    begin("echo $PATH | wc", 60000, "/tmp", std::map<std::string, std::string>{{"PATH", "/x"}, {"A", ""}});
    ChildLaunch const& launch = child().launch;
    EXPECT_EQ(launch.executable, "/bin/zsh");
    EXPECT_THAT(launch.arguments, ElementsAre("-lc", "echo $PATH | wc"));
    EXPECT_EQ(launch.directory, "/tmp");
    EXPECT_THAT(launch.environment, ElementsAre(Pair("A", ""), Pair("PATH", "/x")));
}

TEST_F(ShellRunnerTest, inheritsFolderAndEnvironmentWithoutWordOfThem)
{
    begin("");
    EXPECT_EQ(child().launch.directory, std::nullopt);
    EXPECT_THAT(child().launch.environment, IsEmpty());
    EXPECT_THAT(child().launch.arguments, ElementsAre("-lc", ""));
}

TEST_F(ShellRunnerTest, returnsOutputAndExitCodeOfTheCommand)
{
    Reply& reply = begin("make");
    child().write(ChildStream::output, "one ");
    child().write(ChildStream::error, "wrong");
    platform.settle();
    child().write(ChildStream::output, "two");
    advance(1234567us);
    EXPECT_FALSE(reply.isThere());
    EXPECT_EQ(resultOf(reply, 3), (ShellRunResult{.exitCode = 3,
                                                  .standardOutput = "one two",
                                                  .standardError = "wrong",
                                                  .durationMs = 1234})); // Truncated, not rounded.
    EXPECT_TRUE(child().isLetGo);
    EXPECT_THAT(child().signals, IsEmpty());
}

TEST_F(ShellRunnerTest, fifthCommandAtOnceIsRefusedAndTheFourAreNotTouched)
{
    for (int at = 0; at < 4; ++at)
        begin("sleep 9");
    Reply const& fifth = begin("true");
    EXPECT_EQ(fifth.refusal, AgentError::machineBusy);
    EXPECT_EQ(defaultMessage(*fifth.refusal), "Another control session is in progress");
    EXPECT_THAT(platform.processes.children, SizeIs(4));
    for (auto const& running : platform.processes.children)
        EXPECT_THAT(running->signals, IsEmpty());
    EXPECT_FALSE(replies.front().isThere());

    platform.processes.children[1]->end(0);
    platform.settle();
    EXPECT_TRUE(std::next(replies.begin())->result);
    EXPECT_FALSE(begin("true").isThere());
    EXPECT_EQ(begin("true").refusal, AgentError::machineBusy);
}

TEST_F(ShellRunnerTest, fourCommandsProceedAtOnce)
{
    for (int at = 0; at < 4; ++at)
        begin("x");
    for (int at = 3; at >= 0; --at) {
        platform.processes.children[static_cast<std::size_t>(at)]->end(at);
        platform.settle();
        EXPECT_EQ(std::next(replies.begin(), at)->result.value().exitCode, at);
    }
}

TEST_F(ShellRunnerTest, timeOutAsksTheGroupToEnd)
{
    Reply& reply = begin("sleep 100", 100);
    advance(99ms);
    EXPECT_THAT(child().signals, IsEmpty());
    child().onSignal = [this](GroupSignal) { child().end(15); };
    child().write(ChildStream::output, "so far");
    advance(1ms);
    EXPECT_THAT(child().signals, ElementsAre(GroupSignal::terminate));
    EXPECT_EQ(reply.result, (ShellRunResult{.exitCode = 15,
                                            .standardOutput = "so far",
                                            .standardError = "",
                                            .durationMs = 100,
                                            .timedOut = true}));
    advance(10s);
    EXPECT_THAT(child().signals, SizeIs(1));
}

TEST_F(ShellRunnerTest, commandThatIgnoresSigtermIsKilledFiveSecondsLater)
{
    Reply& reply = begin("trap '' TERM; sleep 100", 100);
    child().onSignal = [this](GroupSignal signal) {
        if (signal == GroupSignal::kill)
            child().end(9);
    };
    advance(5099ms);
    EXPECT_THAT(child().signals, ElementsAre(GroupSignal::terminate));
    EXPECT_FALSE(reply.isThere());
    advance(1ms);
    EXPECT_THAT(child().signals, ElementsAre(GroupSignal::terminate, GroupSignal::kill));
    EXPECT_EQ(
        reply.result,
        (ShellRunResult{
            .exitCode = 9, .standardOutput = "", .standardError = "", .durationMs = 5100, .timedOut = true}));
}

TEST_F(ShellRunnerTest, commandThatEndsJustWhenTheTimeIsOverDidNotTimeOut)
{
    Reply& reply = begin("sleep 0.1", 100);
    // The child has ended and closed its outputs, but the runner has not read that yet.
    platform.time.jump(100ms);
    child().isRunning = false;
    child().write(ChildStream::output, "all");
    child().close(ChildStream::output);
    child().close(ChildStream::error);
    advance(0ms);
    EXPECT_THAT(child().signals, IsEmpty());
    child().exit(0);
    platform.settle();
    EXPECT_FALSE(reply.result.value().timedOut);
    EXPECT_EQ(reply.result->standardOutput, "all");
}

TEST_F(ShellRunnerTest, commandThatEndsInTimeIsNotSignalledLater)
{
    Reply& reply = begin("true", 100);
    resultOf(reply);
    advance(1h);
    EXPECT_THAT(child().signals, IsEmpty());
    EXPECT_EQ(platform.time.sleeperCount(), 0U);
}

TEST_F(ShellRunnerTest, commandThatEndsWithinTheGraceIsNotKilled)
{
    Reply& reply = begin("slow", 100);
    advance(3s);
    child().end(15);
    platform.settle();
    EXPECT_EQ(reply.result.value().durationMs, 3000);
    EXPECT_TRUE(reply.result->timedOut);
    advance(1h);
    EXPECT_THAT(child().signals, ElementsAre(GroupSignal::terminate));
}

TEST_F(ShellRunnerTest, backgroundJobHoldsTheReplyUntilTheSignalsReachIt)
{
    Reply& reply = begin("sleep 100 &", 2000);
    child().exit(0);
    platform.settle();
    advance(1999ms);
    EXPECT_FALSE(reply.isThere());
    child().onSignal = [this](GroupSignal) {
        child().close(ChildStream::output);
        child().close(ChildStream::error);
    };
    advance(1ms);
    EXPECT_THAT(child().signals, ElementsAre(GroupSignal::terminate));
    EXPECT_EQ(reply.result.value().durationMs, 2000);
    EXPECT_EQ(reply.result->exitCode, 0); // The shell's own exit code.
    EXPECT_TRUE(reply.result->timedOut);
}

TEST_F(ShellRunnerTest, backgroundJobThatIgnoresSigtermIsKilled)
{
    Reply& reply = begin("(trap '' TERM; sleep 100) &", 100);
    child().exit(0);
    child().onSignal = [this](GroupSignal signal) {
        if (signal == GroupSignal::kill)
            child().end(0);
    };
    advance(5100ms);
    EXPECT_THAT(child().signals, ElementsAre(GroupSignal::terminate, GroupSignal::kill));
    EXPECT_TRUE(reply.result.value().timedOut);
}

TEST_F(ShellRunnerTest, backgroundJobOutsideOfTheGroupHoldsTheReply)
{
    Reply& reply = begin("setsid sleep 100 &", 100);
    child().exit(0);
    advance(1h);
    EXPECT_THAT(child().signals, ElementsAre(GroupSignal::terminate, GroupSignal::kill));
    EXPECT_FALSE(reply.isThere());
    child().close(ChildStream::output);
    platform.settle();
    EXPECT_FALSE(reply.isThere());
    child().close(ChildStream::error);
    platform.settle();
    EXPECT_TRUE(reply.isThere());
}

TEST_F(ShellRunnerTest, commandThatClosesItsOutputsEarlyIsWaitedFor)
{
    Reply& reply = begin("exec >&- 2>&-; sleep 1");
    child().close(ChildStream::output);
    child().close(ChildStream::error);
    platform.settle();
    EXPECT_FALSE(reply.isThere());
    EXPECT_EQ(resultOf(reply, 7).exitCode, 7);
}

TEST_F(ShellRunnerTest, twoMebibytesAreCutAndDrained)
{
    Reply& reply = begin("yes");
    std::string const first(limit, 'a');
    child().write(ChildStream::output, first);
    platform.settle();
    child().write(ChildStream::output, std::string(limit, 'b'));
    ShellRunResult const result = resultOf(reply, 4);
    EXPECT_EQ(result.standardOutput, first);
    EXPECT_TRUE(result.truncated);
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_EQ(child().readBytes, 2 * limit);
}

TEST_F(ShellRunnerTest, outputOfExactlyTheLimitCountsAsTruncated)
{
    Reply& reply = begin("x");
    child().write(ChildStream::output, std::string(limit, 'a'));
    ShellRunResult const result = resultOf(reply);
    EXPECT_EQ(result.standardOutput.size(), limit);
    EXPECT_TRUE(result.truncated);
}

TEST_F(ShellRunnerTest, outputBelowTheLimitIsNotTruncated)
{
    Reply& reply = begin("x");
    child().write(ChildStream::output, std::string(limit - 1, 'a'));
    child().write(ChildStream::error, std::string(limit - 1, 'b'));
    ShellRunResult const result = resultOf(reply);
    EXPECT_EQ(result.standardOutput.size(), limit - 1);
    EXPECT_EQ(result.standardError.size(), limit - 1);
    EXPECT_FALSE(result.truncated);
}

TEST_F(ShellRunnerTest, errorOutputAloneIsTruncatedLikeTheOther)
{
    Reply& reply = begin("x");
    child().write(ChildStream::error, std::string(limit + 1, 'a'));
    ShellRunResult const result = resultOf(reply);
    EXPECT_EQ(result.standardError.size(), limit);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_TRUE(result.truncated);
}

TEST_F(ShellRunnerTest, brokenTextIsRepairedAndSoIsTheCutCharacter)
{
    Reply& reply = begin("x");
    child().write(ChildStream::error, "a\xff"
                                      "b");
    child().write(ChildStream::output, std::string(limit - 1, 'a') + "\u00e9");
    ShellRunResult const result = resultOf(reply);
    EXPECT_EQ(result.standardError, "a\ufffdb");
    EXPECT_EQ(result.standardOutput, std::string(limit - 1, 'a') + "\ufffd");
    EXPECT_TRUE(result.truncated);
}

TEST_F(ShellRunnerTest, launchFailurePassesOnAndGivesThePlaceBack)
{
    platform.processes.failure = "The folder cannot be entered: No such file or directory";
    for (int at = 0; at < 9; ++at)
        EXPECT_EQ(begin("x", 100, "/nowhere").launchFailure, platform.processes.failure);
    platform.processes.failure.reset();
    EXPECT_EQ(platform.time.sleeperCount(), 0U);
    for (int at = 0; at < 4; ++at)
        EXPECT_FALSE(begin("x").isThere());
    EXPECT_EQ(begin("x").refusal, AgentError::machineBusy);
}

TEST_F(ShellRunnerTest, timeoutsBelowOneAreOverAtOnce)
{
    for (std::int64_t const ms :
         {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
        Reply& reply = begin("sleep 100", ms);
        EXPECT_THAT(child().signals, ElementsAre(GroupSignal::terminate)) << ms;
        EXPECT_TRUE(resultOf(reply, 15).timedOut);
    }
}

TEST_F(ShellRunnerTest, hugeTimeoutsDoNotOverflow)
{
    advance(std::chrono::hours(1));
    for (std::int64_t const ms :
         {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::max() / 1'000'000,
          std::numeric_limits<std::int64_t>::max() / 1'000'000 + 1}) {
        Reply& reply = begin("sleep 100", ms);
        advance(std::chrono::hours(24 * 365));
        EXPECT_THAT(child().signals, IsEmpty()) << ms;
        EXPECT_FALSE(resultOf(reply).timedOut);
    }
}

TEST_F(ShellRunnerTest, callerThatGoesLeavesTheCommandToItsTime)
{
    Reply& reply = begin("sleep 100", 100);
    reply.task.cancel();
    platform.settle();
    EXPECT_FALSE(child().isLetGo);
    child().onSignal = [this](GroupSignal) { child().end(15); };
    advance(100ms);
    EXPECT_THAT(child().signals, ElementsAre(GroupSignal::terminate));
    EXPECT_TRUE(child().isLetGo);
    for (int at = 0; at < 4; ++at)
        EXPECT_FALSE(begin("x").isThere());
}

} // namespace
} // namespace zelvo
