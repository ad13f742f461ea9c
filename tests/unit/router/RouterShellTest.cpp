#include "base/LocalizedTexts.h"
#include "platform/ChildProcess.h"
#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RouterShellTest : public RouterHarness {
protected:
    void neverAsk()
    {
        ConfirmationPolicy policy;
        policy.confirmShell = false;
        state.grant({.id = "c",
                     .platformName = "Acme",
                     .scopes = {allScopes.begin(), allScopes.end()},
                     .policy = policy});
    }
    /// What was written of commands, beside the line of the grant.
    std::vector<ActivityEntry> lines() const
    {
        std::vector<ActivityEntry> found;
        std::ranges::copy_if(state.activity(), std::back_inserter(found),
                             [](ActivityEntry const& entry) { return entry.kind == ActivityKind::terminal; });
        return found;
    }
    FakeShell::Run onlyRun() const
    {
        EXPECT_EQ(shell.runs.size(), 1U);
        return shell.runs.empty() ? FakeShell::Run{} : shell.runs.front();
    }
};

TEST_F(RouterShellTest, answersWithWhatTheCommandLeft)
{
    shell.result = {.exitCode = 3,
                    .standardOutput = "out",
                    .standardError = "err",
                    .durationMs = 12,
                    .truncated = true,
                    .timedOut = false};
    EXPECT_EQ(call("shell.run", R"({"command": "make"})").at("result"), (json::object{{"exitCode", 3},
                                                                                      {"stdout", "out"},
                                                                                      {"stderr", "err"},
                                                                                      {"durationMs", 12},
                                                                                      {"truncated", true},
                                                                                      {"timedOut", false}}));
}

TEST_F(RouterShellTest, aCommandThatExitsWithOneIsAResult)
{
    shell.result.exitCode = 1;
    EXPECT_EQ(call("shell.run", R"({"command": "false"})").at("result").at("exitCode"), 1);
}

TEST_F(RouterShellTest, withoutACommandItIsAnInvalidRequest)
{
    for (char const* const params :
         {"{}", R"({"command": 1})", R"({"command": null})", R"({"command": ["ls"]})"})
        EXPECT_EQ(code(call("shell.run", params)), "invalid_request") << params;
    EXPECT_THAT(shell.runs, IsEmpty());
    EXPECT_THAT(confirmations.questions, IsEmpty());
}

TEST_F(RouterShellTest, anEmptyCommandRuns)
{
    call("shell.run", R"({"command": ""})");
    EXPECT_EQ(onlyRun(), (FakeShell::Run{"", std::nullopt, 60'000, std::nullopt}));
}

TEST_F(RouterShellTest, passesOnFolderTimeAndEnvironment)
{
    call("shell.run", R"({"command": "ls", "cwd": "/tmp", "timeoutMs": 5, "env": {"A": "1", "B": ""}})");
    EXPECT_EQ(onlyRun(), (FakeShell::Run{"ls", "/tmp", 5, {{{"A", "1"}, {"B", ""}}}}));
}

TEST_F(RouterShellTest, whatIsOfAnotherTypeCountsAsMissing)
{
    for (char const* const params :
         {R"({"command": "ls", "timeoutMs": "5"})", R"({"command": "ls", "timeoutMs": 5.5})",
          R"({"command": "ls", "timeoutMs": true})", R"({"command": "ls", "cwd": 1})",
          R"({"command": "ls", "cwd": ["/"]})", R"({"command": "ls", "env": "A=1"})",
          R"({"command": "ls", "env": ["A"]})", R"({"command": "ls", "env": {"A": 1, "B": "2"}})",
          R"({"command": "ls", "env": {"A": null}})"}) {
        shell.runs.clear();
        call("shell.run", params);
        EXPECT_EQ(onlyRun(), (FakeShell::Run{"ls", std::nullopt, 60'000, std::nullopt})) << params;
    }
}

TEST_F(RouterShellTest, anEmptyEnvironmentIsOne)
{
    call("shell.run", R"({"command": "ls", "env": {}})");
    EXPECT_EQ(onlyRun().env, (std::map<std::string, std::string>{}));
}

TEST_F(RouterShellTest, asksThePersonWithTheCallersTime)
{
    call("shell.run", R"({"command": "rm -r x", "confirmationTimeoutMs": 900})");
    ConfirmationSubject const subject{ConfirmationSubject::ShellCommand{"rm -r x"}};
    EXPECT_THAT(confirmations.questions, ElementsAre(FakeConfirming::Question{subject, "Acme", 900}));
}

TEST_F(RouterShellTest, asksForAMinuteUnlessTold)
{
    call("shell.run", R"({"command": "ls", "confirmationTimeoutMs": "900"})");
    ASSERT_EQ(confirmations.questions.size(), 1U);
    EXPECT_EQ(confirmations.questions.front().timeoutMs, 60'000);
}

TEST_F(RouterShellTest, asksAboutFolderAndVariablesToo)
{
    call("shell.run", R"({"command": "make", "cwd": "/tmp/x", "env": {"BASH_ENV": "/tmp/evil", "A": ""}})");

    ConfirmationSubject const subject{ConfirmationSubject::ShellCommand{
        .command = "make", .cwd = "/tmp/x", .env = {{"A", ""}, {"BASH_ENV", "/tmp/evil"}}}};
    EXPECT_THAT(confirmations.questions, ElementsAre(FakeConfirming::Question{subject, "Acme", 60'000}));
    EXPECT_EQ(onlyRun(),
              (FakeShell::Run{"make", "/tmp/x", 60'000, {{{"A", ""}, {"BASH_ENV", "/tmp/evil"}}}}));
}

TEST_F(RouterShellTest, runsNothingAfterANo)
{
    confirmations.decision = ConfirmationDecision::denied();
    EXPECT_EQ(code(call("shell.run", R"({"command": "ls"})")), "denied_by_user");
    confirmations.decision = ConfirmationDecision::timedOut();
    EXPECT_EQ(code(call("shell.run", R"({"command": "ls"})")), "confirmation_timeout");
    EXPECT_THAT(shell.runs, IsEmpty());
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(RouterShellTest, doesNotAskWhereThePolicyDoesNotWantIt)
{
    neverAsk();
    call("shell.run", R"({"command": "ls"})");
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_EQ(shell.runs.size(), 1U);
}

TEST_F(RouterShellTest, doesNotAskOnAMachineOfTheCloud)
{
    makeRouter(AgentMode::cloud);
    call("shell.run", R"({"command": "ls"})");
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_EQ(shell.runs.size(), 1U);
}

TEST_F(RouterShellTest, aConnectionThatIsGoneRunsWithoutAQuestionAndWritesNoActivity)
{
    makeRouter(AgentMode::cloud); // Where no scope is looked up before.
    EXPECT_EQ(code(call("shell.run", R"({"command": "ls"})", "gone")), "");
    EXPECT_EQ(shell.runs.size(), 1U);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(RouterShellTest, logsTheBeginningOfTheCommand)
{
    shell.result = {.exitCode = 2, .durationMs = 850};
    RpcFrame request = frame("shell.run", R"({"command": ")" + std::string(400, 'x') + R"("})");
    request.agentName = "Scout";
    call(request);
    ASSERT_EQ(lines().size(), 1U);
    ActivityEntry const entry = lines().front();
    EXPECT_EQ(entry.summary, localized("activity.terminal.ran"));
    EXPECT_EQ(entry.kind, ActivityKind::terminal);
    EXPECT_EQ(entry.note, "exit code 2, 850 ms");
    EXPECT_EQ(entry.detail, std::string(300, 'x'));
    EXPECT_EQ(entry.platformName, "Acme");
    EXPECT_EQ(entry.connectionId, "c");
    EXPECT_EQ(entry.agentName, "Scout");
}

TEST_F(RouterShellTest, logsFolderAndVariablesExactly)
{
    call("shell.run", R"({"command": "make", "cwd": "/tmp/\u202ex", "env": {"A": "1\n2", "PATH": "."}})");

    ASSERT_EQ(lines().size(), 1U);
    EXPECT_EQ(lines()[0].detail, "make");
    std::string const rightToLeftOverride = {'\xE2', '\x80', '\xAE'};
    EXPECT_EQ(lines()[0].cwd, "/tmp/" + rightToLeftOverride + "x");
    EXPECT_THAT(lines()[0].env, ElementsAre("PATH=.", "A=1\n2"));
}

TEST_F(RouterShellTest, logsNoMoreThanSixteenKibibytesOfVariables)
{
    std::string const large(100'000, 'x');
    call("shell.run", R"({"command": "make", "env": {"PATH": ".", "A": ")" + large + R"(", "B": ""}})");

    ASSERT_EQ(lines().size(), 1U);
    EXPECT_THAT(lines()[0].env,
                ElementsAre("PATH=.", "A=" + std::string(198, 'x') + "… (100002 bytes)", "B="));
}

TEST_F(RouterShellTest, logsTheVariablesThatFollowALongOne)
{
    std::string const large(17'000, 'x');
    call("shell.run",
         R"({"command": "make", "env": {"AR": ")" + large + R"(", "ZDOTDIR": "/tmp/evil", "B": "1"}})");

    ASSERT_EQ(lines().size(), 1U);
    EXPECT_THAT(lines()[0].env,
                ElementsAre("AR=" + std::string(197, 'x') + "… (17003 bytes)", "ZDOTDIR=/tmp/evil", "B=1"));
}

TEST_F(RouterShellTest, logsTheNameOfEveryVariableBeyondThat)
{
    json::object env{{"ZDOTDIR", "/tmp/evil"}};
    for (int i = 0; i < 300; ++i)
        env["A" + std::to_string(1000 + i)] = std::string(1000, 'x');
    env["ZZ"] = "1";
    call("shell.run", writeJson(json::object{{"command", "make"}, {"env", env}}));

    ASSERT_EQ(lines().size(), 1U);
    std::vector<std::string> const logged = lines()[0].env;
    ASSERT_EQ(logged.size(), 302U);
    EXPECT_EQ(logged[0], "ZDOTDIR=/tmp/evil");
    EXPECT_EQ(logged[1], "A1000=" + std::string(194, 'x') + "… (1006 bytes)");
    EXPECT_EQ(logged[300], "A1299=… (1006 bytes)");
    EXPECT_EQ(logged[301], "ZZ=1");
}

TEST_F(RouterShellTest, logsNoMoreThanSixtyFourKibibytesOfNames)
{
    json::object env{{"PATH", "."}};
    for (int i = 0; i < 999; ++i) // With PATH as many as an object may have.
        env["A" + std::to_string(1000 + i) + std::string(995, 'n')] = std::string(1000, 'x');
    call("shell.run", writeJson(json::object{{"command", "make"}, {"env", env}}));

    ASSERT_EQ(lines().size(), 1U);
    std::vector<std::string> const logged = lines()[0].env;
    EXPECT_EQ(logged.front(), "PATH=.");
    EXPECT_EQ(logged.back(), "… (1000 variables)");
    std::size_t bytes = 0;
    for (std::string const& line : logged)
        bytes += line.size();
    EXPECT_LT(bytes, 100U * 1024);
    EXPECT_GT(bytes, 64U * 1024);
}

TEST_F(RouterShellTest, failuresOfTheRunnerPassThrough)
{
    shell.failure = std::make_exception_ptr(AgentError::machineBusy);
    EXPECT_EQ(code(call("shell.run", R"({"command": "ls"})")), "machine_busy");
    shell.failure = std::make_exception_ptr(LaunchFailure("/secret/folder is not there"));
    json::object const reply = call("shell.run", R"({"command": "ls"})");
    EXPECT_EQ(code(reply), "internal_error");
    EXPECT_EQ(writeJson(reply).find("secret"), std::string::npos);
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(RouterShellTest, runsWithoutEitherPermission)
{
    platform.systemAccess.granted = {};
    EXPECT_EQ(code(call("shell.run", R"({"command": "ls"})")), "");
}

TEST_F(RouterShellTest, otherFramesAreServedWhileThePersonIsAsked)
{
    confirmations.decision.reset();
    std::optional<json::object> reply;
    start(frame("shell.run", R"({"command": "ls"})"), reply);
    EXPECT_FALSE(reply);
    EXPECT_EQ(code(call("permissions.get")), "");
    confirmations.answer(ConfirmationDecision::allowed(false));
    platform.settle();
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "");
}

TEST_F(RouterShellTest, isNotHeldBackByABatchOfActions)
{
    std::optional<json::object> batch;
    start(frame("actions.perform", R"({"actions": [{"type": "wait", "ms": 1000}]})"), batch);
    EXPECT_EQ(code(call("shell.run", R"({"command": "ls"})")), "");
    EXPECT_FALSE(batch);
}

TEST_F(RouterShellTest, tellsTheRecorderNothing)
{
    call("shell.run", R"({"command": "ls"})");
    EXPECT_THAT(recorder.told, IsEmpty());
}

} // namespace
} // namespace zelvo
