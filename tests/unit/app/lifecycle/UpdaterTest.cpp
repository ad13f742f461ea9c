#include "app/lifecycle/Updater.h"

#include "base/LocalizedTexts.h"
#include "fakes/FakePlatform.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

class UpdaterTest : public testing::Test {
protected:
    FakePlatform platform;
    FakeUpdates& updates = platform.programUpdates;
    AgentState state{{.main = platform.contexts.main,
                      .clock = platform.time,
                      .defaults = platform.settings,
                      .session = platform.sessionEvents,
                      .screen = platform.screenSource,
                      .refreshDisplay = [] {}}};
    Updater updater{{.updates = updates, .information = platform.info, .state = state}};
    int changes = 0;

    void SetUp() override
    {
        updater.changed.connect([this] { ++changes; });
    }
    void configure() { platform.info.texts["SUPublicEDKey"] = "key"; }
    void begin()
    {
        configure();
        updater.start();
    }
    void expectNothingCanBeChecked()
    {
        updater.start();
        updater.checkNow();
        updater.installOnQuit();
        EXPECT_FALSE(updater.isConfigured());
        EXPECT_FALSE(updater.canCheck());
        EXPECT_EQ(updates.started, 0);
        EXPECT_EQ(changes, 0);
    }
};

TEST_F(UpdaterTest, withoutAKeyThereIsNoUpdater)
{
    expectNothingCanBeChecked();
}

TEST_F(UpdaterTest, withAnEmptyKeyThereIsNoUpdater)
{
    platform.info.texts["SUPublicEDKey"] = "";

    expectNothingCanBeChecked();
}

TEST_F(UpdaterTest, startsOnce)
{
    configure();

    updater.start();
    updater.start();

    EXPECT_TRUE(updater.canCheck());
    EXPECT_EQ(updates.started, 1);
    EXPECT_EQ(changes, 1);
}

TEST_F(UpdaterTest, checksOnRequest)
{
    begin();

    updater.checkNow();

    EXPECT_EQ(updates.checked, 1);
}

TEST_F(UpdaterTest, aRequestedCheckForgetsTheEndOfTheLastOneAtOnce)
{
    begin();
    updates.findNothing();
    updates.delegate().progressed({});

    updater.checkNow();

    EXPECT_EQ(updater.progress().phase, UpdateProgress::Phase::checking);
    EXPECT_FALSE(updater.lastAbort());
}

TEST_F(UpdaterTest, aRequestLeavesAReadyUpdateAsItIs)
{
    begin();
    UpdateProgress const ready{.phase = UpdateProgress::Phase::ready, .item = {.displayVersion = "2.5"}};
    updates.delegate().progressed(ready);

    updater.checkNow();

    EXPECT_EQ(updater.progress(), ready);
    EXPECT_EQ(updates.checked, 1);
}

TEST_F(UpdaterTest, aPackagedProgramIsUpdatedByThePackageManager)
{
    EXPECT_EQ(updater.source(), UpdateSource::packageManager);
    configure();
    EXPECT_EQ(updater.source(), UpdateSource::itself);
}

TEST_F(UpdaterTest, nothingFoundIsNoFailure)
{
    begin();

    updates.findNothing();

    EXPECT_FALSE(updater.lastCheckFailed());
    EXPECT_EQ(updater.lastAbort()->code, UpdateAbort::nothingFound);
}

TEST_F(UpdaterTest, aFailureStaysAfterALaterCheckThatFindsNothing)
{
    begin();

    updates.fail("The server is away");
    updates.findNothing();

    EXPECT_EQ(updater.lastCheckFailed(), "The server is away");
}

TEST_F(UpdaterTest, aLaterFailureReplacesTheText)
{
    begin();

    updates.fail("one");
    updates.fail("two");

    EXPECT_EQ(updater.lastCheckFailed(), "two");
}

TEST_F(UpdaterTest, aNewCheckForgetsHowTheLastOneEndedButNotItsFailure)
{
    begin();
    updates.fail("one");

    updates.delegate().progressed({.phase = UpdateProgress::Phase::checking});

    EXPECT_FALSE(updater.lastAbort());
    EXPECT_EQ(updater.lastCheckFailed(), "one");
    EXPECT_EQ(updater.progress().phase, UpdateProgress::Phase::checking);
}

TEST_F(UpdaterTest, anUpdateOnQuitPausesTheAgentAndIsLogged)
{
    begin();
    state.log({.platform = "Acme", .summary = "earlier"});
    updates.pending = UpdateItem{.displayVersion = "2.5"};

    updater.installOnQuit();

    EXPECT_TRUE(state.isPaused());
    ASSERT_EQ(state.activity().size(), 2U);
    ActivityEntry const& newest = state.activity().front();
    EXPECT_EQ(newest.kind, ActivityKind::update);
    EXPECT_EQ(newest.platformName, localized("activity.app"));
    EXPECT_EQ(newest.summary, localized("activity.updating", {"2.5"}));
    EXPECT_EQ(newest.at, platform.time.date());
    EXPECT_FALSE(newest.connectionId || newest.note || newest.detail || newest.count || newest.agentName);
    EXPECT_TRUE(platform.settings.bytes("zelvo.activity")->find("2.5") != std::string::npos);
}

TEST_F(UpdaterTest, theLineOfAnUpdateIsOneOfFiveHundred)
{
    begin();
    for (int i = 0; i < 500; ++i)
        state.log({.platform = "Acme", .summary = std::to_string(i)});
    updates.pending = UpdateItem{.displayVersion = "2.5"};

    updater.installOnQuit();

    EXPECT_EQ(state.activity().size(), 500U);
    EXPECT_EQ(state.activity().front().kind, ActivityKind::update);
    EXPECT_EQ(state.activity().back().summary, "1");
}

TEST_F(UpdaterTest, quittingWithoutAnUpdateChangesNothing)
{
    begin();

    updater.installOnQuit();

    EXPECT_FALSE(state.isPaused());
    EXPECT_TRUE(state.activity().empty());
}

TEST_F(UpdaterTest, theFirstConnectionConfirmsTheVersionOnce)
{
    begin();
    EXPECT_EQ(updates.confirmed, 0);

    for (auto const kind : {GatewayConnectionState::Kind::connecting, GatewayConnectionState::Kind::connected,
                            GatewayConnectionState::Kind::retrying, GatewayConnectionState::Kind::connected})
        state.setGatewayState(GatewayConnectionState::of(kind));

    EXPECT_EQ(updates.confirmed, 1);
}

TEST_F(UpdaterTest, endsItsControllerWithItself)
{
    {
        configure();
        Updater other({.updates = updates, .information = platform.info, .state = state});
        other.start();
    }

    EXPECT_EQ(updates.ended, 1);
}

} // namespace
} // namespace zelvo
