#include "overlays/AgentCursorOverlay.h"

#include "base/LocalizedTexts.h"
#include "fakes/FakeOverlays.h"
#include "unit/state/StateFixture.h"

#include <limits>

namespace zelvo {
namespace {

class AgentCursorOverlayTest : public StateFixture {
protected:
    void SetUp() override { state.setShowAgentCursor(true); }

    /// Gives how long the action is held back.
    Duration approach(DesktopPoint point)
    {
        Instant const start = platform.time.now();
        std::optional<Instant> arrived;
        spawn(platform.contexts.agent, [&]() -> Task<> {
            co_await cursor.approach(point);
            arrived = platform.time.now();
        });
        platform.settle();
        for (int ms = 0; ms < 1000 && !arrived; ++ms)
            platform.time.advance(1ms);
        return arrived.value() - start;
    }
    void settle() { platform.settle(); }

    FakeOverlays overlays;
    AgentCursorOverlay cursor{{platform.contexts.main, platform.time, state, overlays.cursorMaker()}};
    AgentCursorModel& model = cursor.shown();
};

TEST_F(AgentCursorOverlayTest, makesNoPanelAndHoldsNothingBackWhileItIsOff)
{
    state.setShowAgentCursor(false);

    EXPECT_EQ(approach({10, 10}), 0ms);
    cursor.clicked({10, 10}, 1);
    cursor.dragged({10, 10}, {20, 20}, 100);
    cursor.scrolled({10, 10});
    cursor.typed(3);
    cursor.pressed({"cmd", "c"});
    platform.time.advance(1s);

    EXPECT_EQ(overlays.made, 0);
    EXPECT_EQ(model.position(), std::nullopt);
    EXPECT_EQ(model.activity(), std::nullopt);
    EXPECT_TRUE(model.ripples().empty());
}

TEST_F(AgentCursorOverlayTest, appearsWhereTheAgentActsFirst)
{
    EXPECT_EQ(approach({300, 400}), 120ms);

    EXPECT_EQ(overlays.open, 1);
    EXPECT_EQ(model.position(), (DesktopPoint{300, 400}));
    EXPECT_TRUE(model.isVisible());
    EXPECT_EQ(model.opacityAt(platform.time.now()), 1);
}

TEST_F(AgentCursorOverlayTest, travelsAtItsSpeedWithinItsBounds)
{
    approach({0, 0});

    EXPECT_EQ(approach({1200, 0}), 240ms);
    EXPECT_EQ(approach({1190, 0}), 60ms);
    EXPECT_EQ(approach({1190, 240}), 100ms);
    EXPECT_EQ(approach({1190, 240}), 60ms);
}

TEST_F(AgentCursorOverlayTest, hidesThreeSecondsAfterTheLastAction)
{
    approach({10, 10});
    platform.time.advance(3s - 121ms);
    EXPECT_TRUE(model.isVisible());
    platform.time.advance(1ms);
    EXPECT_FALSE(model.isVisible());
    EXPECT_EQ(overlays.open, 1);

    platform.time.advance(300ms);
    EXPECT_EQ(model.opacityAt(platform.time.now()), 0);
    EXPECT_EQ(overlays.open, 1);
    platform.time.advance(50ms);
    EXPECT_EQ(overlays.open, 0);
    EXPECT_EQ(model.position(), std::nullopt);
}

TEST_F(AgentCursorOverlayTest, staysWhileTheAgentActs)
{
    approach({10, 10});
    for (int i = 0; i < 5; ++i) {
        platform.time.advance(2800ms);
        cursor.clicked({10, 10}, 1);
        settle();
        EXPECT_TRUE(model.isVisible());
    }
    EXPECT_EQ(overlays.made, 1);
}

TEST_F(AgentCursorOverlayTest, comesBackInTheMiddleOfItsHiding)
{
    approach({10, 10});
    platform.time.advance(3s);
    ASSERT_FALSE(model.isVisible());

    approach({20, 20});
    platform.time.advance(1s);

    EXPECT_TRUE(model.isVisible());
    EXPECT_EQ(overlays.made, 1);
    EXPECT_EQ(overlays.open, 1);
}

TEST_F(AgentCursorOverlayTest, aLongDragKeepsItUntilThreeSecondsAfterItsEnd)
{
    approach({0, 0});
    cursor.dragged({0, 0}, {500, 0}, 5000);
    settle();
    EXPECT_EQ(model.position(), (DesktopPoint{500, 0}));
    platform.time.advance(2500ms);
    EXPECT_NEAR(model.pointAt(platform.time.now()).x, 250, 0.001);

    platform.time.advance(8s - 2501ms);
    EXPECT_TRUE(model.isVisible());
    platform.time.advance(1ms);
    EXPECT_FALSE(model.isVisible());
}

TEST_F(AgentCursorOverlayTest, aShortDragIsStillSeen)
{
    approach({0, 0});
    cursor.dragged({0, 0}, {100, 0}, 0);
    settle();
    platform.time.advance(50ms);
    EXPECT_NEAR(model.pointAt(platform.time.now()).x, 50, 0.001);
    cursor.dragged({0, 0}, {100, 0}, -7000);
    settle();
    EXPECT_TRUE(model.isVisible());
}

TEST_F(AgentCursorOverlayTest, aDragOfAnyDurationIsFollowed)
{
    approach({0, 0});
    cursor.dragged({0, 0}, {500, 0}, std::numeric_limits<std::int64_t>::max());
    settle();
    platform.time.advance(10s);

    EXPECT_TRUE(model.isVisible());
    EXPECT_NEAR(model.pointAt(platform.time.now()).x, 0, 1);
    cursor.dragged({0, 0}, {500, 0}, std::numeric_limits<std::int64_t>::min());
    settle();
    platform.time.advance(100ms);
    EXPECT_EQ(model.pointAt(platform.time.now()), (DesktopPoint{500, 0}));
}

TEST_F(AgentCursorOverlayTest, aPauseStopsItWhereItIs)
{
    approach({0, 0});
    cursor.dragged({0, 0}, {500, 0}, 5000);
    settle();
    platform.time.advance(2500ms);
    state.setPaused(true);
    DesktopPoint const stopped = model.pointAt(platform.time.now());
    EXPECT_NEAR(stopped.x, 250, 0.001);

    platform.time.advance(2999ms);
    EXPECT_EQ(model.pointAt(platform.time.now()), stopped);
    EXPECT_TRUE(model.isVisible());
    platform.time.advance(1ms);
    EXPECT_FALSE(model.isVisible());
}

TEST_F(AgentCursorOverlayTest, aLockStopsItWhereItIs)
{
    state.startObserving();
    approach({0, 0});
    cursor.dragged({0, 0}, {500, 0}, 5000);
    settle();
    platform.time.advance(2500ms);
    platform.sessionEvents.tell(SessionEvent::screenLocked);
    settle();

    platform.time.advance(1s);
    EXPECT_NEAR(model.pointAt(platform.time.now()).x, 250, 0.001);
}

TEST_F(AgentCursorOverlayTest, noDragBeginsInAPause)
{
    approach({0, 0});
    cursor.dragged({0, 0}, {500, 0}, 5000);
    state.setPaused(true);
    settle();
    platform.time.advance(1s);

    EXPECT_EQ(model.pointAt(platform.time.now()), (DesktopPoint{0, 0}));
}

TEST_F(AgentCursorOverlayTest, aPauseDoesNotKeepARestingCursor)
{
    approach({10, 10});
    platform.time.advance(2s);
    state.setPaused(true);
    platform.time.advance(1s);

    EXPECT_FALSE(model.isVisible());
}

TEST_F(AgentCursorOverlayTest, typingAndKeysShowNothingBeforeAPointerAction)
{
    cursor.typed(5);
    cursor.pressed({"cmd", "c"});
    settle();

    EXPECT_EQ(overlays.made, 0);
    EXPECT_EQ(model.activity(), std::nullopt);
}

TEST_F(AgentCursorOverlayTest, saysWhatTheAgentDoes)
{
    approach({10, 10});
    cursor.typed(5);
    settle();
    EXPECT_EQ(model.activity(), localized("cursor.typing"));
    cursor.pressed({"cmd", "shift", "4"});
    settle();
    EXPECT_EQ(model.activity(), "⌘⇧4");
    cursor.scrolled({10, 10});
    settle();
    EXPECT_EQ(model.activity(), localized("cursor.scrolling"));
}

TEST_F(AgentCursorOverlayTest, hasTheNameOfTheAgentInControl)
{
    approach({10, 10});
    EXPECT_EQ(model.name(), localized("cursor.agent"));

    ComputerAgents agents;
    agents.holder = ComputerAgent{"ref", "Ann", {}, {}, {}};
    agents.waiting = {ComputerAgent{"other", "Bob", {}, {}, {}}};
    state.setLiveAgents(agents);
    approach({20, 20});

    EXPECT_EQ(model.name(), "Ann");
}

TEST_F(AgentCursorOverlayTest, cutsTheNameToOneShortLine)
{
    ComputerAgents agents;
    agents.holder = ComputerAgent{"ref", "A\n\u202E\u202Cnn" + std::string(100'000, 'x'), {}, {}, {}};
    state.setLiveAgents(agents);
    approach({10, 10});

    EXPECT_EQ(model.name(), "Ann" + std::string(197, 'x') + "…");

    agents.holder->name = "\n\u202E\u202C";
    state.setLiveAgents(agents);
    approach({20, 20});
    EXPECT_EQ(model.name(), localized("cursor.agent"));
}

TEST_F(AgentCursorOverlayTest, namesOnlyTheFirstKeysAndTheirBeginnings)
{
    approach({10, 10});
    cursor.pressed({std::string(1'000'000, 'a'), "\n\u202E\u202Cb"});
    settle();
    EXPECT_EQ(model.activity(), std::string(40, 'A') + "…B");

    cursor.pressed(std::vector<std::string>(100'000, "shift"));
    settle();
    EXPECT_EQ(model.activity(), "⇧⇧⇧⇧⇧⇧⇧⇧");
}

TEST_F(AgentCursorOverlayTest, typingDoesNotBringBackACursorThatFadesOut)
{
    approach({10, 10});
    platform.time.advance(3100ms);
    ASSERT_FALSE(model.isVisible());
    ASSERT_EQ(overlays.open, 1);

    cursor.typed(5);
    settle();
    EXPECT_EQ(model.activity(), localized("cursor.typing"));
    platform.time.advance(1s);
    EXPECT_FALSE(model.isVisible());
    EXPECT_EQ(model.opacityAt(platform.time.now()), 0);

    platform.time.advance(3s);
    EXPECT_EQ(overlays.open, 0);
    EXPECT_EQ(overlays.made, 1);
    EXPECT_EQ(model.position(), std::nullopt);
}

TEST_F(AgentCursorOverlayTest, hidesAlsoIfItIsSwitchedOffWhileItStands)
{
    approach({10, 10});
    state.setShowAgentCursor(false);
    cursor.clicked({10, 10}, 1); // No longer keeps it.
    settle();

    platform.time.advance(3s);
    EXPECT_FALSE(model.isVisible());
    platform.time.advance(350ms);
    EXPECT_EQ(overlays.open, 0);
    EXPECT_EQ(model.position(), std::nullopt);
}

TEST_F(AgentCursorOverlayTest, canBeTakenAwayAtOnce)
{
    approach({10, 10});
    cursor.hide();
    EXPECT_EQ(overlays.open, 0);
    EXPECT_EQ(model.position(), std::nullopt);

    approach({20, 20});
    EXPECT_EQ(overlays.open, 1);
    EXPECT_TRUE(model.isVisible());
}

TEST_F(AgentCursorOverlayTest, isNoPanelWithoutAScreen)
{
    overlays.hasScreen = false;

    EXPECT_EQ(approach({10, 10}), 120ms);
    EXPECT_EQ(overlays.open, 0);

    overlays.hasScreen = true;
    approach({20, 20});
    EXPECT_EQ(overlays.open, 1);
}

} // namespace
} // namespace zelvo
