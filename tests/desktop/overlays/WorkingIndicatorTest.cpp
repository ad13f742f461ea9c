#include "base/LocalizedTexts.h"
#include "desktop/harness/PainterProcess.h"
#include "desktop/input/EventWindow.h"
#include "desktop/overlays/OverlayFixture.h"

#include <QApplication>
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>

namespace zelvo::test {
namespace {

using WorkingIndicatorTest = OverlayFixture;

INSTANTIATE_TEST_SUITE_P(WithAndWithoutCompositor, WorkingIndicatorTest, testing::Bool());

TEST_P(WorkingIndicatorTest, framesTheScreenWhileAnAgentWorks)
{
    beginWork();
    ASSERT_TRUE(waitForOverlays(4));

    for (auto const& [x, y] : {std::pair(640, 2), {1, 500}, {1278, 500}, {300, 998}})
        EXPECT_TRUE(until([&] { return isBlue(screenAt(x, y)); })) << x << " " << y;
    for (auto const& [x, y] : {std::pair(8, 500), {1271, 500}, {300, 990}, {300, 40}, {0, 0}, {1279, 999}})
        EXPECT_FALSE(isBlue(screenAt(x, y))) << x << " " << y;

    EXPECT_TRUE(until([&] { return overlays().empty(); }, 5s));
    EXPECT_TRUE(until([&] { return !isBlue(screenAt(1, 500)); })); // A compositing manager may fade it out.
}

TEST_P(WorkingIndicatorTest, aClickOnItReachesTheWindowBelow)
{
    EventWindow below(desktop->display());
    beginWork();
    ASSERT_TRUE(until([&] { return isBlue(screenAt(1, 500)); }));

    for (auto const& [x, y] : {std::pair(1, 500), {640, 12}, {640, 998}}) {
        beginWork();
        std::vector<std::string> events;
        desktop->run({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"});
        EXPECT_TRUE(until([&] {
            std::ranges::move(below.take(), std::back_inserter(events));
            return events.size() == 2;
        })) << x
            << " " << y;
        EXPECT_EQ(std::pair(below.lastX, below.lastY), std::pair(x, y));
    }
}

TEST_P(WorkingIndicatorTest, isInNoScreenshot)
{
    pass();
    auto const before = screenshot();
    auto const grabbed = desktopPixels();
    beginWork();
    approach({400, 300});
    ASSERT_TRUE(until([&] { return isBlue(screenAt(1, 500)) && hasPointerAt(400, 300); }));

    EXPECT_EQ(screenshot(), before);
    EXPECT_NE(desktopPixels(), grabbed); // A grab by anyone else shows it.
}

TEST_P(WorkingIndicatorTest, followsTheScreens)
{
    beginWork();
    ASSERT_TRUE(until([&] { return isBlue(screenAt(1, 500)); }));

    desktop->run({"xrandr", "--setmonitor", "left", "500/150x1000/200+0+0", "none"});
    desktop->run({"xrandr", "--setmonitor", "*right", "780/150x800/200+500+0", "screen"});

    EXPECT_TRUE(until([&] {
        beginWork();
        return isBlue(screenAt(501, 500)) && isBlue(screenAt(800, 798));
    }));
    // A compositor repaints where the frame was a moment later.
    EXPECT_TRUE(until([&] { return !isBlue(screenAt(1, 500)) && !isBlue(screenAt(800, 998)); }));
}

TEST_P(WorkingIndicatorTest, drawsOnlyWhatChanges)
{
    beginWork();
    ASSERT_TRUE(waitForOverlays(4));
    pass();
    auto const ids = overlays();
    QImage const idle = picture("indicator-idle");

    ComputerAgents agents;
    agents.holder = ComputerAgent{"ref", "Ann <b>&amp;</b>", {}, {}, {}};
    parts->state.setLiveAgents(agents);
    beginWork();
    QImage const named = picture("indicator-named");
    parts->recording.state().setRecording(true);
    beginWork();
    QImage const recorded = picture("indicator-recorded");
    parts->recording.state().setRecording(false);
    beginWork();
    QImage const back = picture("indicator-back");

    EXPECT_NE(idle.copy(400, 0, 480, 40), named.copy(400, 0, 480, 40));
    EXPECT_NE(named.copy(400, 0, 480, 40), recorded.copy(400, 0, 480, 40));
    EXPECT_EQ(named.copy(400, 0, 480, 40), back.copy(400, 0, 480, 40));
    auto const after = overlays();
    ASSERT_EQ(after.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(after[i].id, ids[i].id);
}

TEST_P(WorkingIndicatorTest, growsWithTheDesktopsFont)
{
    QFont const before = QApplication::font();
    beginWork();
    ASSERT_TRUE(waitForOverlays(4));
    auto const tallestTop = [this] {
        int tallest = 0;
        for (Shown const& one : overlays())
            if (one.area.y == 0 && one.area.width == 1280)
                tallest = std::max(tallest, one.area.height);
        return tallest;
    };
    int const usual = tallestTop();
    EXPECT_GT(usual, 16);

    QFont large = before;
    large.setPointSizeF(3 * before.pointSizeF());
    QApplication::setFont(large);

    EXPECT_TRUE(until([&] {
        beginWork();
        return tallestTop() > 2 * usual;
    }));
    QApplication::setFont(before);
}

TEST_P(WorkingIndicatorTest, aHostileNameDelaysNothing)
{
    ComputerAgents agents;
    agents.holder = ComputerAgent{"ref", "A\n\u202E\u202C\u2028" + std::string(1'000'000, 'W'), {}, {}, {}};
    auto const start = std::chrono::steady_clock::now();
    parts->state.setLiveAgents(agents);
    parts->recording.state().setRecording(true);
    for (int i = 0; i < 100; ++i)
        beginWork();

    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
    ASSERT_TRUE(waitForOverlays(4));
    EXPECT_TRUE(until([&] { return isBlue(screenAt(640, 2)) && !isBlue(screenAt(200, 20)); }));
    picture("indicator-hostile");
}

} // namespace
} // namespace zelvo::test
