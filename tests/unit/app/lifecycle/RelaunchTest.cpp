#include "app/lifecycle/Relaunch.h"

#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

#include <optional>

namespace zelvo {
namespace {

using Successor = Relaunch::Successor;
using Programs = std::vector<std::string>;

class RelaunchTest : public testing::Test {
protected:
    RelaunchTest() { platform.installed.where.program = "/srv/zelvo/zelvo-agent"; }

    void begin(Successor which)
    {
        spawn(platform.contexts.main,
              [this, which]() -> Task<> { results.push_back(co_await relaunch.into(which)); });
    }
    Programs const& arranged() const { return platform.installed.startedAfterEnd; }

    FakePlatform platform;
    std::vector<bool> results;
    int ends = 0;
    Relaunch relaunch{
        {.contexts = platform.contexts, .installation = platform.installed, .terminate = [this] {
             EXPECT_EQ(platform.installed.startedAfterEnd.size(), 1U); // Before the end.
             ++ends;
         }}};
};

TEST_F(RelaunchTest, startsTheRunningProgramAfterItsEnd)
{
    begin(Successor::runningProgram);
    platform.settle();

    EXPECT_EQ(arranged(), Programs{"/srv/zelvo/zelvo-agent"});
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(results, std::vector{true});
}

TEST_F(RelaunchTest, startsTheInstalledCopyAfterItsEnd)
{
    begin(Successor::installedCopy);
    platform.settle();

    EXPECT_EQ(arranged(), Programs{platform.installed.where.applicationsPath});
    EXPECT_EQ(ends, 1);
}

TEST_F(RelaunchTest, endsNothingIfTheStartCannotBeArranged)
{
    platform.installed.starts = false;
    begin(Successor::runningProgram);
    platform.settle();

    EXPECT_EQ(ends, 0);
    EXPECT_EQ(results, std::vector{false});
}

TEST_F(RelaunchTest, canBeTriedAgainAfterAFailure)
{
    platform.installed.starts = false;
    begin(Successor::runningProgram);
    platform.settle();
    platform.installed.startedAfterEnd.clear();
    platform.installed.starts = true;

    begin(Successor::runningProgram);
    platform.settle();

    EXPECT_EQ(ends, 1);
    EXPECT_EQ(results, (std::vector{false, true}));
}

TEST_F(RelaunchTest, arrangesOneStartHoweverOftenItIsAsked)
{
    begin(Successor::runningProgram);
    begin(Successor::installedCopy); // While the first is arranged.
    platform.settle();
    begin(Successor::runningProgram); // While the process ends.
    platform.settle();

    EXPECT_EQ(arranged().size(), 1U);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(results.size(), 3U);
}

} // namespace
} // namespace zelvo
