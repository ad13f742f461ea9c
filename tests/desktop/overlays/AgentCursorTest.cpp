#include "desktop/input/EventWindow.h"
#include "desktop/overlays/OverlayFixture.h"

#include <QGuiApplication>
#include <QWindow>
#include <gmock/gmock.h>

namespace zelvo::test {
namespace {

using AgentCursorTest = OverlayFixture;
constexpr int margin = 5; ///< what the window has left of the tip and above it, in points
using testing::ElementsAre;

INSTANTIATE_TEST_SUITE_P(WithAndWithoutCompositor, AgentCursorTest, testing::Bool());

TEST_P(AgentCursorTest, isDrawnWhereTheEventWillBe)
{
    approach({400, 300});

    ASSERT_TRUE(until([&] { return hasPointerAt(400, 300); }));
    // With a compositor it fades in.
    EXPECT_TRUE(until([&] { return !isBlack(screenAt(396, 300)); }));
    EXPECT_TRUE(until([&] { return !isBlack(screenAt(402, 294)); }));

    approach({700, 500});
    EXPECT_TRUE(until([&] { return hasPointerAt(700, 500); }));
    EXPECT_TRUE(until([&] { return !hasPointerAt(400, 300); }));
}

TEST_P(AgentCursorTest, aClickAtItsTipReachesTheWindowBelow)
{
    EventWindow below(desktop->display());
    approach({400, 300});
    ASSERT_TRUE(until([&] { return hasPointerAt(400, 300); }));
    below.take();

    // Where it draws: the tip, inside of the pointer, and on the label.
    for (auto const& [x, y] : {std::pair(400, 300), {402, 308}, {430, 305}}) {
        std::vector<std::string> events;
        desktop->run({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"});
        ASSERT_TRUE(until([&] {
            std::ranges::move(below.take(), std::back_inserter(events));
            return events.size() == 2;
        }));
        EXPECT_THAT(events, ElementsAre("button+1", "button-1"));
        EXPECT_EQ(std::pair(below.lastX, below.lastY), std::pair(x, y));
        EXPECT_TRUE(hasPointerAt(400, 300));
    }
}

TEST_P(AgentCursorTest, takesNoInputFromItsFirstMomentOn)
{
    approach({400, 300});
    parts->cursor.clicked({400, 300}, 3);

    ASSERT_TRUE(waitForOverlays(2));
    for (Shown const& one : overlays()) {
        EXPECT_EQ(one.inputParts, 0u);
        EXPECT_EQ(one.depth, GetParam() ? 32 : 24);
        if (GetParam())
            EXPECT_EQ(one.shapeParts, 1u);
        else
            EXPECT_GT(one.shapeParts, 10u);
    }
}

TEST_P(AgentCursorTest, isNoWindowThatAnyoneKnowsOf)
{
    Painter painter(desktop->display());
    auto const window = painter.open({.x = 100, .y = 100, .width = 600, .height = 500, .title = "Work"});
    ASSERT_TRUE(until([&] { return desktop->activeWindow() == window; }));
    auto const toolkits = QGuiApplication::allWindows();
    approach({400, 300});
    beginWork();
    ASSERT_TRUE(waitForOverlays(5));
    pass();

    EXPECT_EQ(desktop->activeWindow(), window);
    EXPECT_EQ(desktop->run({"xdotool", "getwindowfocus"}), std::to_string(window) + "\n");
    // What the toolkit does not know is in no accessibility tree either.
    EXPECT_EQ(QGuiApplication::allWindows(), toolkits);
    auto const listed = platform->windows().windows().value();
    std::string const list = desktop->run({"xprop", "-root", "_NET_CLIENT_LIST"});
    for (Shown const& one : overlays()) {
        std::ostringstream id;
        id << std::hex << "0x" << one.id;
        EXPECT_EQ(list.find(id.str()), std::string::npos);
        for (WindowEntry const& entry : listed)
            EXPECT_NE(entry.id, one.id);
    }
}

TEST_P(AgentCursorTest, travelsSmoothlyAndThenRests)
{
    approach({100, 100});
    ASSERT_TRUE(until([&] { return hasPointerAt(100, 100); }));
    XConnection const watch = connectTo(desktop->display());
    auto* const x = watch.get();
    std::uint32_t const mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(x, overlays().back().id, XCB_CW_EVENT_MASK, &mask);
    syncWith(x);
    auto const moves = [&] {
        syncWith(x);
        int count = 0;
        while (XReply<xcb_generic_event_t> const event{xcb_poll_for_event(x)})
            count += (event->response_type & 0x7f) == XCB_CONFIGURE_NOTIFY;
        return count;
    };

    approach({1000, 800});

    ASSERT_TRUE(until([&] { return hasPointerAt(1000, 800); }));
    pass(100ms);           // The last frame.
    EXPECT_GE(moves(), 9); // 0.24 s; a busy machine may lose some of the 14.
    pass(1s);
    EXPECT_EQ(moves(), 0);
}

TEST_P(AgentCursorTest, isGoneAfterItsTimeAndLeavesNothing)
{
    std::size_t const before = childrenOfRoot().size();
    approach({400, 300});
    parts->cursor.clicked({400, 300}, 2);
    ASSERT_TRUE(waitForOverlays(3));

    EXPECT_TRUE(until([&] { return overlays().empty(); }, 6s));
    EXPECT_FALSE(hasPointerAt(400, 300));
    EXPECT_EQ(childrenOfRoot().size(), before);
}

TEST_P(AgentCursorTest, makesNoWindowWhileItIsOff)
{
    std::size_t const before = childrenOfRoot().size();
    parts->state.setShowAgentCursor(false);

    approach({400, 300});
    parts->cursor.clicked({400, 300}, 2);
    parts->cursor.dragged({400, 300}, {500, 300}, 100);
    parts->cursor.scrolled({400, 300});
    for (int i = 0; i < 10; ++i) {
        pass(50ms);
        EXPECT_EQ(childrenOfRoot().size(), before);
    }
}

TEST_P(AgentCursorTest, ripplesWhereItClicks)
{
    approach({400, 300});
    parts->cursor.clicked({400, 300}, 1);
    ASSERT_TRUE(waitForOverlays(2));

    auto const all = overlays();
    PaintedArea const ripple = all.front().area;
    EXPECT_EQ(ripple.x + ripple.width / 2, 400);
    EXPECT_EQ(ripple.y + ripple.height / 2, 300);
    EXPECT_LE(ripple.width, 60);
    auto const tint = [this] { return screenAt(391, 300).blue - screenAt(391, 300).red; };
    EXPECT_TRUE(until([&] { return tint() > backdropTint + 8; }, 1s));
    EXPECT_TRUE(waitForOverlays(1));
}

TEST_P(AgentCursorTest, isDrawnOnEveryMonitorWhereTheEventWillBe)
{
    desktop->run({"xrandr", "--setmonitor", "left", "500/150x1000/200+0+0", "none"});
    desktop->run({"xrandr", "--setmonitor", "*right", "780/150x1000/200+500+0", "screen"});
    ASSERT_TRUE(until([&] { return platform->screen().screens().size() == 2; }));

    for (DesktopPoint const point : {DesktopPoint{-300, 200}, {-40, 600}, {30, 40}, {779, 999}}) {
        approach(point);
        perform([this, point]() -> Task<> { co_await parts->input.move(point); });
        DesktopPoint const tip{point.x + 500, point.y};
        ASSERT_TRUE(until([&] { return overlays().size() == 1; }));
        if (point.x < 700)
            EXPECT_TRUE(until([&] { return hasPointerAt(int(tip.x), int(tip.y)); })) << point.x;
        EXPECT_TRUE(until([&] {
            PaintedArea const area = overlays().front().area;
            return std::pair(area.x + margin, area.y + margin) == pointerPlace();
        })) << point.x;
    }
}

class AgentCursorScaleTest : public OverlayFixture {
protected:
    void SetUp() override { bringUpOverlays(192); }
};

INSTANTIATE_TEST_SUITE_P(WithAndWithoutCompositor, AgentCursorScaleTest, testing::Bool());

TEST_P(AgentCursorScaleTest, isDrawnWhereTheEventWillBe)
{
    approach({200, 150});
    perform([this]() -> Task<> {
        DesktopPoint const point{200, 150};
        co_await parts->input.move(point);
    });

    EXPECT_EQ(pointerPlace(), std::pair(400, 300));
    ASSERT_TRUE(until([&] { return isBlack(screenAt(404, 316)); }));
    EXPECT_TRUE(until([&] { return !isBlack(screenAt(394, 300)); }));
    EXPECT_TRUE(isBlack(screenAt(400 + 2 * 7, 300 + 2 * 14))); // Twice as large.
    PaintedArea const area = overlays().front().area;
    EXPECT_EQ(std::pair(area.x + 2 * margin, area.y + 2 * margin), std::pair(400, 300));
}

TEST_P(AgentCursorScaleTest, followsANewScaleWhileItIsShown)
{
    approach({200, 150});
    ASSERT_TRUE(until([&] { return isBlack(screenAt(404, 316)); }));

    desktop->run({"sh", "-c", "echo 'Xft.dpi: 96' | xrdb -merge"});

    EXPECT_TRUE(until([&] { return hasPointerAt(200, 150); }));
    EXPECT_FALSE(isBlack(screenAt(404, 316)));
}

} // namespace
} // namespace zelvo::test
