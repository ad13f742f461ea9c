#include "base/LocalizedTexts.h"
#include "fakes/ErrorOf.h"
#include "unit/state/AgentStateFixture.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

// Initial values.

TEST_F(AgentStateTest, beginsUnpausedReadyAndEmpty)
{
    EXPECT_TRUE(state.connections().empty());
    EXPECT_TRUE(state.activity().empty());
    EXPECT_FALSE(state.isPaused());
    EXPECT_EQ(state.availability(), Availability::ready);
    EXPECT_TRUE(state.availabilityHistory().empty());
    EXPECT_FALSE(state.keepAwakeWhileWorking());
    EXPECT_TRUE(state.showAgentCursor());
    EXPECT_FALSE(state.isAgentWorking());
    EXPECT_EQ(state.liveAgents(), ComputerAgents::none());
    EXPECT_EQ(state.gateway(), GatewayConnectionState::of(Kind::notLinked));
    EXPECT_EQ(state.currentState(), (StateMirror{false, Availability::ready, {}}));
}

TEST_F(AgentStateTest, showsTheAgentCursorUnlessTheStoredValueSaysNo)
{
    for (std::string const other : {"true", "1", R"("false")", "null", "", "{"}) {
        content("zelvo.showAgentCursor") = other;
        EXPECT_TRUE(AgentState(services()).showAgentCursor()) << other;
    }

    content("zelvo.showAgentCursor") = "false";
    EXPECT_FALSE(AgentState(services()).showAgentCursor());
}

TEST_F(AgentStateTest, storesWhetherTheCursorIsShown)
{
    state.setShowAgentCursor(false);
    EXPECT_EQ(content("zelvo.showAgentCursor"), "false");
    EXPECT_FALSE(state.showAgentCursor());

    state.setShowAgentCursor(true);
    EXPECT_EQ(content("zelvo.showAgentCursor"), "true");
}

// Assertions.

TEST_F(AgentStateTest, assertsThatAConnectionHoldsAScope)
{
    state.grant(acme());

    EXPECT_FALSE(errorOf([&] { state.assertScope(AgentScope::screen, "con_1"); }));
    EXPECT_EQ(errorOf([&] { state.assertScope(AgentScope::shell, "con_1"); }), AgentError::scopeDenied);
    EXPECT_EQ(errorOf([&] { state.assertScope(AgentScope::screen, "con_2"); }), AgentError::scopeDenied);
    EXPECT_EQ(errorOf([&] { state.assertScope(AgentScope::screen, std::nullopt); }), AgentError::scopeDenied);
}

TEST_F(AgentStateTest, isReadyUnlessPausedOrUnavailable)
{
    state.startObserving();
    EXPECT_FALSE(errorOf([&] { state.assertReady(); }));

    for (Availability const other :
         {Availability::asleep, Availability::noGUISession, Availability::screenLocked}) {
        platform.sessionEvents.present = other;
        state.refreshAvailability();
        EXPECT_EQ(errorOf([&] { state.assertReady(); }), AgentError::machineUnavailable);
    }
}

TEST_F(AgentStateTest, reportsThePauseBeforeTheAvailability)
{
    platform.sessionEvents.present = Availability::screenLocked;
    state.refreshAvailability();
    state.setPaused(true);

    EXPECT_EQ(errorOf([&] { state.assertReady(); }), AgentError::machinePaused);
}

// Pause and mirror.

TEST_F(AgentStateTest, reportsEachChangeOfThePauseOnce)
{
    std::vector<bool> told;
    state.onPauseChanged = [&](bool paused) {
        EXPECT_EQ(state.currentState().paused, paused); // The mirror is updated first.
        told.push_back(paused);
    };

    state.setPaused(false);
    state.setPaused(true);
    state.setPaused(true);
    state.setPaused(false);

    EXPECT_EQ(told, (std::vector{true, false}));
}

TEST_F(AgentStateTest, mirrorsPauseAvailabilityAndSortedIds)
{
    state.startObserving();
    state.grant(acme("con_b"));
    state.grant(acme("con_a"));
    state.setPaused(true);
    platform.sessionEvents.tell(SessionEvent::screenLocked);

    EXPECT_EQ(state.currentState(), (StateMirror{true, Availability::screenLocked, {"con_a", "con_b"}}));

    state.revoke("con_b");
    EXPECT_EQ(state.currentState().grantedConnectionIds, std::vector<std::string>{"con_a"});

    state.forgetConnections();
    EXPECT_TRUE(state.currentState().grantedConnectionIds.empty());
}

// Working.

TEST_F(AgentStateTest, worksUntilThreeSecondsAfterTheLastAction)
{
    state.markWorking();
    EXPECT_TRUE(state.isAgentWorking());
    platform.time.advance(2s);
    state.markWorking();

    platform.time.advance(2999ms);
    EXPECT_TRUE(state.isAgentWorking());
    platform.time.advance(1ms);
    EXPECT_FALSE(state.isAgentWorking());
}

TEST_F(AgentStateTest, keepsWorkingWhenAnActionArrivesAtTheReset)
{
    // Wakes just before the reset, like an action that arrives at the same time.
    spawn(platform.contexts.main, [this]() -> Task<> {
        co_await platform.time.sleep(3s);
        state.markWorking();
    });
    platform.settle();
    state.markWorking();

    platform.time.advance(3s);
    EXPECT_TRUE(state.isAgentWorking());

    platform.time.advance(3s);
    EXPECT_FALSE(state.isAgentWorking());
}

TEST_F(AgentStateTest, mayEndWhileAnAgentWorks)
{
    {
        AgentState brief(services());
        brief.startObserving();
        brief.markWorking();
        platform.settle();
    }

    platform.time.advance(5s);
    platform.sessionEvents.tell(SessionEvent::screenLocked);

    EXPECT_EQ(platform.time.sleeperCount(), 0u);
}

// Starting.

TEST_F(AgentStateTest, restoresItsListsAfterARestart)
{
    state.startObserving();
    state.grant(acme());
    state.setShareRecordings(false, "con_1");
    platform.sessionEvents.tell(SessionEvent::screenLocked);
    platform.sessionEvents.tell(SessionEvent::screenUnlocked);
    state.setPaused(true);
    state.markWorking();

    AgentState next(services());
    next.startObserving();

    EXPECT_EQ(next.connections(), state.connections());
    EXPECT_EQ(next.activity(), state.activity());
    EXPECT_EQ(next.availabilityHistory(), state.availabilityHistory());
    EXPECT_EQ(next.currentState(), (StateMirror{false, Availability::ready, {"con_1"}}));
    EXPECT_FALSE(next.isPaused());
    EXPECT_FALSE(next.isAgentWorking());
}

TEST_F(AgentStateTest, readsABrokenListAsEmptyAndKeepsTheOthers)
{
    state.grant(acme());
    for (std::string const broken : {"", "{", "{}", "7", R"(["x"])", R"([{"id":"con_1"}])"}) {
        content("zelvo.connections") = broken;
        content("zelvo.availabilityHistory") = broken;
        AgentState next(services());
        next.startObserving();
        EXPECT_TRUE(next.connections().empty()) << broken;
        EXPECT_TRUE(next.availabilityHistory().empty()) << broken;
        EXPECT_EQ(next.activity(), state.activity()) << broken;
    }
}

TEST_F(AgentStateTest, losesAWholeListToOneBadRecord)
{
    state.grant(acme());
    std::string& list = content("zelvo.connections");
    list.insert(list.size() - 1, R"(,{"id":"con_2"})");

    AgentState next(services());
    next.startObserving();

    EXPECT_TRUE(next.connections().empty());
    EXPECT_TRUE(next.currentState().grantedConnectionIds.empty());
}

TEST_F(AgentStateTest, recordsAChangeWhenItStartsOnALockedScreen)
{
    platform.sessionEvents.present = Availability::screenLocked;

    state.startObserving();

    EXPECT_EQ(state.availability(), Availability::screenLocked);
    EXPECT_EQ(state.availabilityHistory().size(), 1u);
    EXPECT_EQ(state.activity().size(), 1u);
}

TEST_F(AgentStateTest, addsTheFirstChangeToTheStoredHistory)
{
    platform.sessionEvents.present = Availability::screenLocked;
    AgentState(services()).startObserving();

    state.startObserving();

    EXPECT_EQ(state.availabilityHistory().size(), 2u);
    EXPECT_EQ(state.activity().size(), 2u);
}

TEST_F(AgentStateTest, refreshesTheDisplayAtStartAndWhenTheScreensChange)
{
    state.startObserving();
    EXPECT_EQ(displayRefreshes, 1);

    for (auto const& observer : platform.screenSource.observers)
        observer();

    EXPECT_EQ(displayRefreshes, 2);
}

TEST_F(AgentStateTest, startsOnceOnly)
{
    state.startObserving();
    state.startObserving();

    EXPECT_EQ(platform.sessionEvents.observers.size(), 1u);
    EXPECT_EQ(platform.screenSource.observers.size(), 1u);
    EXPECT_EQ(displayRefreshes, 1);
}

TEST_F(AgentStateTest, notifiesObserversOfEveryChange)
{
    state.startObserving();
    int changes = 0;
    boost::signals2::scoped_connection const watching = state.changed.connect([&] { ++changes; });
    auto const changesBy = [&](std::function<void()> verb) {
        int const before = changes;
        verb();
        return changes > before;
    };

    EXPECT_TRUE(changesBy([&] { state.grant(acme()); }));
    EXPECT_TRUE(changesBy([&] { state.setScopes({}, "con_1"); }));
    EXPECT_TRUE(changesBy([&] { state.setShareRecordings(true, "con_1"); }));
    EXPECT_TRUE(changesBy([&] { state.renameConnections({{"con_1", "Bolt"}}); }));
    EXPECT_TRUE(changesBy([&] { state.revoke("con_1"); }));
    EXPECT_TRUE(changesBy([&] { state.log({.platform = "a", .summary = "b"}); }));
    EXPECT_TRUE(changesBy([&] { look({}, {}); }));
    EXPECT_TRUE(changesBy([&] { look({}, {}); }));
    EXPECT_TRUE(changesBy([&] { state.setPaused(true); }));
    EXPECT_TRUE(changesBy([&] { state.setShowAgentCursor(false); }));
    EXPECT_TRUE(changesBy([&] { enter(Kind::connecting); }));
    EXPECT_TRUE(changesBy([&] { platform.sessionEvents.tell(SessionEvent::willSleep); }));
    EXPECT_TRUE(changesBy([&] { state.markWorking(); }));
    EXPECT_TRUE(changesBy([&] { platform.time.advance(3s); }));
}

} // namespace
} // namespace zelvo
