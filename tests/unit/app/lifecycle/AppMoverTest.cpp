#include "app/lifecycle/AppMover.h"

#include "base/LocalizedTexts.h"
#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

class AppMoverTest : public testing::Test {
protected:
    using Choice = ConfirmationPresenter::Choice;

    void runFrom(std::string const& program) { platform.installed.where.program = program; }
    void check()
    {
        mover.checkOnLaunch();
        platform.settle();
    }
    Task<ConfirmationDecision> ask(Choice choice, std::int64_t timeoutMs)
    {
        asked.push_back(std::move(choice));
        patience = timeoutMs;
        co_return answer;
    }
    std::vector<std::string> lines()
    {
        std::vector<std::string> all;
        for (ActivityEntry const& entry : state.activity())
            all.push_back(entry.summary);
        return all;
    }

    FakePlatform platform;
    AgentState state{{.main = platform.contexts.main,
                      .clock = platform.time,
                      .defaults = platform.settings,
                      .session = platform.sessionEvents,
                      .screen = platform.screenSource,
                      .refreshDisplay = [] {}}};
    std::vector<Choice> asked;
    std::int64_t patience = 0;
    ConfirmationDecision answer = ConfirmationDecision::denied();
    int ends = 0;
    Relaunch relaunch{
        {.contexts = platform.contexts, .installation = platform.installed, .terminate = [this] { ++ends; }}};
    AppMover mover{{.contexts = platform.contexts,
                    .installation = platform.installed,
                    .information = platform.info,
                    .state = state,
                    .askChoice = [this](Choice choice,
                                        std::int64_t timeoutMs) { return ask(std::move(choice), timeoutMs); },
                    .relaunch = relaunch,
                    .terminate = [this] { ++ends; }}};
};

TEST_F(AppMoverTest, asksNothingAtAProperPlace)
{
    runFrom("/usr/bin/zelvo-agent");
    check();

    EXPECT_TRUE(asked.empty());
    EXPECT_EQ(ends, 0);
}

TEST_F(AppMoverTest, asksForTenMinutesToMove)
{
    runFrom("/tmp/zelvo-agent");
    check();

    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].title, localized("location.move.title"));
    EXPECT_EQ(asked[0].detail, localized("location.move.detail"));
    EXPECT_EQ(asked[0].allowTitle, localized("location.move.allow"));
    EXPECT_EQ(asked[0].denyTitle, localized("location.later"));
    EXPECT_EQ(patience, 600'000);
}

TEST_F(AppMoverTest, doesNothingWhenItIsDeniedOrNotAnswered)
{
    runFrom("/tmp/zelvo-agent");
    check();
    answer = ConfirmationDecision::timedOut();
    check();

    EXPECT_EQ(asked.size(), 2U); // It is asked again at the next launch.
    EXPECT_EQ(platform.installed.installed, 0);
    EXPECT_TRUE(platform.installed.startedAfterEnd.empty());
    EXPECT_EQ(ends, 0);
    EXPECT_TRUE(lines().empty());
}

TEST_F(AppMoverTest, installsAndStartsTheCopyAfterItsEnd)
{
    runFrom("/tmp/zelvo-agent");
    answer = ConfirmationDecision::allowed(false);
    check();

    EXPECT_EQ(platform.installed.installed, 1);
    EXPECT_EQ(platform.installed.startedAfterEnd,
              std::vector<std::string>{platform.installed.where.applicationsPath});
    EXPECT_EQ(ends, 1);
}

TEST_F(AppMoverTest, logsAFailedMoveAndGoesOn)
{
    runFrom("/tmp/zelvo-agent");
    answer = ConfirmationDecision::allowed(false);
    platform.installed.installs = false;
    check();

    EXPECT_TRUE(platform.installed.startedAfterEnd.empty());
    EXPECT_EQ(ends, 0);
    ASSERT_EQ(state.activity().size(), 1U);
    ActivityEntry const& line = state.activity().front();
    EXPECT_EQ(line.platformName, localized("activity.app"));
    EXPECT_EQ(line.summary, localized("location.move.failed"));
    EXPECT_EQ(line.kind, ActivityKind::system);
}

TEST_F(AppMoverTest, endsAlsoWhenTheShellCannotStart)
{
    runFrom("/tmp/zelvo-agent");
    answer = ConfirmationDecision::allowed(false);
    platform.installed.starts = false;
    check();

    EXPECT_EQ(ends, 1);
}

TEST_F(AppMoverTest, offersTheInstalledCopyOfTheSameVersionInstead)
{
    runFrom("/media/ann/STICK/zelvo-agent");
    platform.info.texts["CFBundleShortVersionString"] = "1.2";
    platform.installed.version = "1.2";
    answer = ConfirmationDecision::allowed(false);
    check();

    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].title, localized("location.openInstalled.title"));
    EXPECT_EQ(asked[0].detail, localized("location.openInstalled.detail"));
    EXPECT_EQ(asked[0].allowTitle, localized("location.openInstalled.allow"));
    EXPECT_EQ(asked[0].denyTitle, localized("location.later"));
    EXPECT_EQ(patience, 600'000);
    EXPECT_EQ(platform.installed.installed, 0);
    EXPECT_EQ(platform.installed.startedAfterEnd.size(), 1U);
    EXPECT_EQ(ends, 1);
}

TEST_F(AppMoverTest, goesOnWhenTheInstalledCopyIsNotWanted)
{
    runFrom("/media/ann/STICK/zelvo-agent");
    platform.installed.version = "9";
    check();
    answer = ConfirmationDecision::timedOut();
    check();

    EXPECT_EQ(asked.size(), 2U);
    EXPECT_TRUE(platform.installed.startedAfterEnd.empty());
    EXPECT_EQ(ends, 0);
}

TEST_F(AppMoverTest, takesAProgramWithoutAVersionForZero)
{
    runFrom("/tmp/zelvo-agent");
    platform.installed.version = "0.0.1";
    check();
    platform.installed.version = "0";
    check();

    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[0].title, localized("location.openInstalled.title"));
    EXPECT_EQ(asked[1].title, localized("location.openInstalled.title"));
}

TEST_F(AppMoverTest, offersToReplaceAnOlderCopy)
{
    runFrom("/tmp/zelvo-agent");
    platform.info.texts["CFBundleShortVersionString"] = "1.10";
    platform.installed.version = "1.9";
    check();

    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].title, localized("location.move.title"));
}

} // namespace
} // namespace zelvo
