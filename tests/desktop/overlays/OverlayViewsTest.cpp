#include "app/overlays/AgentCursorView.h"
#include "app/overlays/WorkingIndicatorView.h"
#include "desktop/harness/WaitFor.h"
#include "fakes/FakePlatform.h"

#include <QApplication>
#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

using Layer = OverlayWindows::Layer;

/// The views on overlay windows in memory, with a manual clock and without a display.
class OverlayViewsTest : public testing::Test {
protected:
    bool until(std::function<bool()> condition)
    {
        return waitFor([&] {
            QApplication::processEvents();
            return condition();
        });
    }
    void drawFrames(int frames)
    {
        for (int i = 0; i < frames; ++i) {
            platform.time.advance(16ms);
            waitFor(
                [] {
                    QApplication::processEvents();
                    return false;
                },
                25ms);
        }
    }
    /// The cursor is visible there and rests.
    std::unique_ptr<AgentCursorView> restingAt(DesktopPoint point)
    {
        auto view = std::make_unique<AgentCursorView>(model, windows, platform.time);
        model.setName("Ann");
        model.place(point);
        model.fade(true, 100ms, Motion::Curve::easeOut);
        drawFrames(8);
        EXPECT_FALSE(view->isTicking());
        EXPECT_EQ(windows.on(Layer::pointer).size(), 1u);
        return view;
    }

    int count = 3;
    char program[5] = "test";
    char option[10] = "-platform";
    char value[10] = "offscreen";
    char* arguments[4] = {program, option, value, nullptr};
    QApplication application{count, arguments};
    FakePlatform platform;
    FakeOverlayWindows& windows = platform.overlayWindows;
    AgentCursorModel model{platform.contexts.main, platform.time};
};

TEST_F(OverlayViewsTest, theCursorFadesInAndThenHasNoTimer)
{
    auto const view = restingAt({300, 200});

    EXPECT_EQ(windows.on(Layer::pointer).front()->place, (DesktopPoint{300, 200}));
    EXPECT_GE(windows.on(Layer::pointer).front()->pictures, 4);
}

TEST_F(OverlayViewsTest, theCursorIsOnlyMovedWhileItTravels)
{
    auto const view = restingAt({300, 200});
    FakeOverlayWindows::Window const& window = *windows.on(Layer::pointer).front();
    int const pictures = window.pictures;

    model.travel({700, 200}, 160ms, Motion::Curve::linear);
    drawFrames(5);
    EXPECT_TRUE(view->isTicking());
    EXPECT_GT(window.place->x, 400);
    EXPECT_LT(window.place->x, 600);
    drawFrames(7);

    EXPECT_EQ(window.place, (DesktopPoint{700, 200}));
    EXPECT_EQ(window.pictures, pictures);
    EXPECT_GE(window.moves, 8);
    EXPECT_FALSE(view->isTicking());
}

TEST_F(OverlayViewsTest, aRippleHasAWindowForItsTime)
{
    auto const view = restingAt({300, 200});
    model.ripple({50, 60}, 1);
    platform.settle();
    drawFrames(3);

    ASSERT_EQ(windows.on(Layer::ripple).size(), 1u);
    EXPECT_EQ(windows.on(Layer::ripple).front()->place, (DesktopPoint{50, 60}));
    EXPECT_TRUE(view->isTicking());

    platform.time.advance(600ms);
    EXPECT_TRUE(until([&] { return windows.on(Layer::ripple).empty() && !view->isTicking(); }));
    EXPECT_EQ(windows.on(Layer::pointer).size(), 1u);
}

TEST_F(OverlayViewsTest, theLabelStaysInItsPlaceWhateverItSays)
{
    auto const view = restingAt({300, 200});
    FakeOverlayWindows::Window const& window = *windows.on(Layer::pointer).front();
    for (std::string const& name : {std::string(100'000, 'W'), std::string("<b>A</b> & B\nC"),
                                    std::string("\u202E\u05d0\u05d1\u05d2 \u062f\u0647\u0648 😀")}) {
        model.setName(name);
        model.say(name);
        drawFrames(2);
        EXPECT_LE(window.picture.width, 120 + 12) << name.substr(0, 10);
        EXPECT_LE(window.picture.height, 32 + 12) << name.substr(0, 10);
    }
}

TEST_F(OverlayViewsTest, drawAnewAtANewScaleAndInNewColours)
{
    auto const view = restingAt({300, 200});
    int const narrow = windows.on(Layer::pointer).front()->picture.width;

    windows.display->scale = 2;
    windows.changed();
    ASSERT_TRUE(until([&] { return windows.on(Layer::pointer).front()->picture.width == 2 * narrow; }));

    auto const light = windows.on(Layer::pointer).front()->picture.pixels;
    QApplication::setPalette(QPalette(QColor(0x24, 0x26, 0x2b)));
    EXPECT_TRUE(until([&] {
        return windows.on(Layer::pointer).size() == 1 &&
               windows.on(Layer::pointer).front()->picture.pixels != light;
    }));
    EXPECT_FALSE(view->isTicking());
}

TEST_F(OverlayViewsTest, areNothingWithoutADisplay)
{
    windows.display.reset();
    EXPECT_EQ(AgentCursorView::open(model, windows, platform.time), nullptr);
    EXPECT_EQ(windows.opened, 0);
}

} // namespace
} // namespace zelvo::test
