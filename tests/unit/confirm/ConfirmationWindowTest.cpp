#include "confirm/ConfirmationWindow.h"

#include "fakes/FakeConfirmationPanel.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"

#include <gtest/gtest.h>

#include <limits>

namespace zelvo {
namespace {

using Decision = ConfirmationDecision;

class ConfirmationWindowTest : public testing::Test {
protected:
    std::shared_ptr<ConfirmationWindow> window(Decision closeMeans)
    {
        return std::make_shared<ConfirmationWindow>(io.get_executor(), clock, panels.maker()({}), closeMeans);
    }
    void show(std::shared_ptr<ConfirmationWindow> const& shown, std::int64_t timeoutMs)
    {
        shown->show(timeoutMs, [this](Decision made) { decisions.push_back(made); });
        settle(io);
    }

    asio::io_context io;
    ManualClock clock{&io};
    FakeWindowFocus focus;
    FakePanels panels{focus};
    std::vector<Decision> decisions;
};

TEST_F(ConfirmationWindowTest, passesTheCheckBoxOnWithTheYes)
{
    for (bool const ticked : {true, false}) {
        auto const shown = window(Decision::denied());
        show(shown, 1000);
        panels.last().reports.allow(ticked);
        EXPECT_EQ(decisions.back(), Decision::allowed(ticked));
        EXPECT_TRUE(panels.last().wasTakenAway);
    }
}

TEST_F(ConfirmationWindowTest, closingMeansWhatItWasMadeWith)
{
    for (Decision const means : {Decision::denied(), Decision::timedOut()}) {
        auto const shown = window(means);
        show(shown, 1000);
        panels.last().reports.close();
        EXPECT_EQ(decisions.back(), means);
    }
}

TEST_F(ConfirmationWindowTest, takesOnlyTheFirstEnd)
{
    auto const shown = window(Decision::timedOut());
    show(shown, 1000);

    panels.last().reports.deny();
    panels.last().reports.allow(true);
    panels.last().reports.close();
    clock.advance(2s);

    EXPECT_EQ(decisions, std::vector{Decision::denied()});
}

TEST_F(ConfirmationWindowTest, takesAClickAtTheMomentInWhichTheTimeRunsOutOnce)
{
    auto const shown = window(Decision::denied());
    show(shown, 1000);

    clock.jump(1s); // The time is over, but the countdown has not woken yet.
    panels.last().reports.allow(false);
    clock.advance(1s);

    EXPECT_EQ(decisions, std::vector{Decision::allowed(false)});
}

TEST_F(ConfirmationWindowTest, takesNoYesAfterItsTime)
{
    auto const shown = window(Decision::denied());
    show(shown, 1000);

    clock.jump(1001ms); // The machine slept, and a key press woke it.
    panels.last().reports.allow(false);

    EXPECT_EQ(decisions, std::vector{Decision::timedOut()});
}

TEST_F(ConfirmationWindowTest, endsByItselfWhenItsTimeIsOverAndNotBefore)
{
    auto const shown = window(Decision::denied());
    show(shown, 60000);
    EXPECT_EQ(panels.last().end, clock.now() + 60s);

    clock.advance(59999ms);
    EXPECT_TRUE(decisions.empty());
    clock.advance(1ms);

    EXPECT_EQ(decisions, std::vector{Decision::timedOut()});
    EXPECT_FALSE(panels.last().isShown);
}

TEST_F(ConfirmationWindowTest, isTakenAwayBeforeTheDecisionIsReported)
{
    auto const shown = window(Decision::denied());
    bool wasThere = true;
    shown->show(1000, [&](Decision) { wasThere = panels.last().isShown; });

    panels.last().reports.allow(false);

    EXPECT_FALSE(wasThere);
}

TEST_F(ConfirmationWindowTest, hasNoTimeAtAllWithLessThanNoneAndBoundsTheLongest)
{
    auto const shown = window(Decision::denied());
    show(shown, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(decisions, std::vector{Decision::timedOut()});

    auto const patient = window(Decision::denied());
    show(patient, std::numeric_limits<std::int64_t>::max());
    clock.advance(24h);
    EXPECT_EQ(decisions.size(), 1u);
}

TEST_F(ConfirmationWindowTest, leavesNoCountdownBehind)
{
    {
        auto const shown = window(Decision::denied());
        show(shown, 60000);
        EXPECT_EQ(clock.sleeperCount(), 1u);
        panels.last().reports.deny();
        settle(io);
        EXPECT_EQ(clock.sleeperCount(), 0u);
        show(window(Decision::denied()), 60000);
    }
    settle(io);
    EXPECT_EQ(clock.sleeperCount(), 0u);
    EXPECT_TRUE(panels.last().isGone);
}

TEST_F(ConfirmationWindowTest, returnsItsPanelsFrame)
{
    auto const shown = window(Decision::denied());
    panels.last().frame = {.x = 1, .y = 2, .width = 3, .height = 4};
    EXPECT_EQ(shown->agentFrame(), (DesktopRect{1, 2, 3, 4}));
}

} // namespace
} // namespace zelvo
