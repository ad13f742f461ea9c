#include "platform/linux/x11/capture/X11DrawingWatches.h"

#include "desktop/x11/CaptureDesktop.h"
#include "platform/linux/x11/overlays/X11OverlayWindows.h"

#include <gmock/gmock.h>

#include <atomic>

namespace zelvo::test {
namespace {

using testing::IsEmpty;

/// What a screen's watch finds while other processes draw, with and without a compositing manager.
class X11DrawingWatchesTest : public testing::TestWithParam<bool> {
protected:
    X11DrawingWatchesTest() : stage({.width = 1280, .height = 720, .sessionBus = false}, GetParam())
    {
        stage.desktopCorner = {1270, 710};
    }
    ~X11DrawingWatchesTest() override { watch.reset(); }
    void SetUp() override
    {
        if (GetParam() && !stage.hasCompositor)
            GTEST_SKIP() << "no compositing manager is installed";
    }

    /// Once the window manager has drawn its frames.
    void open(std::set<std::string> without = {"dev.zelvo.agent"})
    {
        stage.settledScreen();
        excluded = std::move(without);
        watch = stage.live.run(
            watches.open(stage.layout->current().displayId, excluded, [reports = reports] { ++*reports; }));
        waitForRest();
    }
    std::vector<DesktopRect> take() { return stage.live.run(watch->take(excluded)); }
    /// Until no report has come for a while.
    void waitForRest()
    {
        int before = 0;
        do {
            before = *reports;
            take();
        } while (waitFor([&] { return *reports != before; }, 300ms));
    }
    /// What is drawn until no report has come for a while.
    std::vector<DesktopRect> drawn()
    {
        std::vector<DesktopRect> all;
        int before = 0;
        do {
            before = *reports;
            auto const found = take();
            all.insert(all.end(), found.begin(), found.end());
        } while (waitFor([&] { return *reports != before; }, 500ms));
        return all;
    }
    bool isReported(int before) const
    {
        return waitFor([&] { return *reports != before; });
    }

    CaptureDesktop stage;
    X11DrawingWatches watches{stage.live.contexts(), *stage.layout, *stage.entries, *stage.source};
    std::shared_ptr<std::atomic<int>> reports = std::make_shared<std::atomic<int>>();
    std::set<std::string> excluded;
    std::unique_ptr<DrawingWatch> watch;
};

INSTANTIATE_TEST_SUITE_P(WithAndWithoutCompositor, X11DrawingWatchesTest, testing::Bool());

PaintedWindow bare(PaintedArea area, std::uint32_t color = 0x336699)
{
    return {.x = area.x,
            .y = area.y,
            .width = area.width,
            .height = area.height,
            .color = color,
            .overrideRedirect = true};
}

TEST_P(X11DrawingWatchesTest, findsNothingOnAScreenAtRest)
{
    PainterProcess painter(stage.desktop);
    painter.open(bare({100, 100, 200, 150}));
    open();
    int const before = *reports;

    EXPECT_FALSE(waitFor([&] { return *reports != before; }, 1s));
    EXPECT_THAT(take(), IsEmpty());
}

TEST_P(X11DrawingWatchesTest, findsWhereAWindowIsDrawnTo)
{
    PainterProcess painter(stage.desktop);
    auto const window = painter.open(bare({100, 100, 200, 150}));
    open();

    for (int turn = 0; turn < 3; ++turn) {
        int const before = *reports;
        painter.paint(window, turn % 2 ? 0x00ff00 : 0xff0000);
        EXPECT_TRUE(isReported(before)) << turn;
        EXPECT_THAT(drawn(), testing::Contains(DesktopRect{100, 100, 200, 150})) << turn;
    }
}

TEST_P(X11DrawingWatchesTest, findsAWindowThatComesMovesAndGoes)
{
    PainterProcess painter(stage.desktop);
    open();

    auto const window = painter.open(bare({100, 100, 200, 150}));
    EXPECT_THAT(drawn(), testing::Contains(DesktopRect{100, 100, 200, 150}));
    painter.move(window, 500, 400);
    auto const moved = drawn();
    EXPECT_THAT(moved, testing::Contains(DesktopRect{100, 100, 200, 150}));
    EXPECT_THAT(moved, testing::Contains(DesktopRect{500, 400, 200, 150}));
    painter.close(window);
    EXPECT_THAT(drawn(), testing::Contains(DesktopRect{500, 400, 200, 150}));
}

TEST_P(X11DrawingWatchesTest, findsNothingInACoveredWindow)
{
    PainterProcess painter(stage.desktop);
    auto const below = painter.open(bare({100, 100, 200, 150}));
    painter.open(bare({50, 50, 400, 400}, 0x445566));
    open();

    painter.paint(below, 0xff0000);

    EXPECT_THAT(drawn(), IsEmpty());
}

TEST_P(X11DrawingWatchesTest, findsNothingOfAHiddenApplication)
{
    PainterProcess painter(stage.desktop);
    painter.open(bare({0, 0, 1280, 720}, 0x445566));
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    auto const window = secret.open(bare({100, 100, 300, 300}));
    open({"dev.zelvo.agent", "secret"});

    secret.paint(window, 0xff0000);
    EXPECT_THAT(drawn(), IsEmpty());
    secret.move(window, 400, 200);
    EXPECT_THAT(drawn(), IsEmpty());
    secret.resize(window, 500, 400);
    EXPECT_THAT(drawn(), IsEmpty());
    auto const second = secret.open(bare({600, 100, 300, 300}));
    EXPECT_THAT(drawn(), IsEmpty());
    secret.close(second);
    EXPECT_THAT(drawn(), IsEmpty());
    secret.close(window);
    EXPECT_THAT(drawn(), IsEmpty());
}

TEST_P(X11DrawingWatchesTest, isNotToldThatAHiddenApplicationDraws)
{
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    auto const window = secret.open(bare({100, 100, 300, 300}));
    open({"dev.zelvo.agent", "secret"});
    int const before = *reports;

    secret.paint(window, 0xff0000);

    EXPECT_FALSE(waitFor([&] { return *reports != before; }, 500ms));
}

TEST_P(X11DrawingWatchesTest, followsTheHiddenListOfTheMoment)
{
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    auto const window = secret.open(bare({100, 100, 300, 300}));
    open();
    secret.paint(window, 0xff0000);
    EXPECT_THAT(drawn(), testing::Contains(DesktopRect{100, 100, 300, 300}));

    excluded.insert("secret");
    drawn();
    secret.paint(window, 0x00ff00);
    EXPECT_THAT(drawn(), IsEmpty());

    excluded.erase("secret");
    drawn();
    secret.paint(window, 0xff0000);
    EXPECT_THAT(drawn(), testing::Contains(DesktopRect{100, 100, 300, 300}));
}

TEST_P(X11DrawingWatchesTest, findsWhatIsDrawnSoonAfterAHiddenWindowMoved)
{
    PainterProcess painter(stage.desktop);
    auto const below = painter.open(bare({100, 100, 200, 150}));
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    auto const window = secret.open(bare({50, 50, 400, 400}));
    open({"dev.zelvo.agent", "secret"});
    secret.move(window, 60, 60);
    drawn();

    painter.paint(below, 0xff0000);

    EXPECT_THAT(drawn(), testing::Contains(DesktopRect{100, 100, 200, 150}));
}

TEST_P(X11DrawingWatchesTest, findsWhatIsBelowAHiddenWindow)
{
    PainterProcess painter(stage.desktop);
    auto const below = painter.open(bare({100, 100, 200, 150}));
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    secret.open(bare({50, 50, 400, 400}));
    open({"dev.zelvo.agent", "secret"});

    painter.paint(below, 0xff0000);

    EXPECT_THAT(drawn(), testing::Contains(DesktopRect{100, 100, 200, 150}));
}

TEST_P(X11DrawingWatchesTest, findsNothingOfThisProgramsWindows)
{
    PainterProcess painter(stage.desktop);
    painter.open(bare({0, 0, 1280, 720}, 0x445566));
    Painter own(stage.desktop.display());
    auto const window = own.open(bare({200, 200, 100, 100}));
    open();

    own.paint(window, 0xff0000);
    EXPECT_THAT(drawn(), IsEmpty());
    for (int step = 0; step < 20; ++step) {
        own.move(window, 200 + step * 20, 300);
        EXPECT_THAT(take(), IsEmpty()) << step;
    }
    EXPECT_THAT(drawn(), IsEmpty());
    own.close(window);
    EXPECT_THAT(drawn(), IsEmpty());
}

TEST_P(X11DrawingWatchesTest, doesNotCountThePointer)
{
    PainterProcess painter(stage.desktop);
    painter.open(bare({0, 0, 1280, 720}, 0x445566));
    open();

    Painter(stage.desktop.display()).movePointer(600, 300);

    EXPECT_THAT(drawn(), IsEmpty());
}

TEST_P(X11DrawingWatchesTest, givesPointsOfTheDisplay)
{
    PainterProcess painter(stage.desktop);
    auto const window = painter.open(bare({100, 100, 200, 150}));
    stage.desktop.run({"sh", "-c", "echo 'Xft.dpi: 192' | xrdb -merge"});
    require("the scale", [&] { return stage.layout->current().scale == 2; });
    open();

    painter.paint(window, 0xff0000);

    EXPECT_THAT(drawn(), testing::Contains(DesktopRect{50, 50, 100, 75}));
}

} // namespace
} // namespace zelvo::test
