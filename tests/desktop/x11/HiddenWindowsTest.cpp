#include "desktop/x11/HiddenWindowsFixture.h"

#include <atomic>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace zelvo::test {
namespace {

class HiddenWindows : public testing::TestWithParam<bool> {};

/// An application that does everything possible with windows, repeatedly.
class Restless {
public:
    explicit Restless(PainterProcess& painter) : painter(painter) {}
    ~Restless()
    {
        done = true;
        thread.join();
    }

private:
    void run()
    {
        while (!done)
            step();
    }
    void step()
    {
        if (windows.size() < 3) {
            open();
            return;
        }
        std::size_t const which = number(0, windows.size() - 1);
        std::uint32_t const window = windows[which];
        switch (number(0, 6)) {
        case 0:
            painter.move(window, int(number(0, 1900)) - 200, int(number(0, 1000)) - 100);
            break;
        case 1:
            painter.raise(window);
            break;
        case 2:
            painter.resize(window, int(number(50, 800)), int(number(50, 600)));
            break;
        case 3:
            painter.minimise(window);
            painter.map(window);
            break;
        case 4:
            painter.unmap(window);
            painter.map(window);
            break;
        case 5:
            painter.lower(window);
            break;
        default:
            painter.close(window);
            windows.erase(windows.begin() + std::ptrdiff_t(which));
        }
    }
    void open()
    {
        PaintedWindow window{.x = int(number(0, 1700)) - 100,
                             .y = int(number(0, 900)),
                             .width = int(number(50, 500)),
                             .height = int(number(50, 400)),
                             .color = planted};
        window.overrideRedirect = number(0, 1);
        if (number(0, 2) == 0)
            window.shape = {{0, 0, 50, 20}, {10, 20, 20, 30}};
        if (number(0, 3) == 0) {
            window.argb = true;
            window.color = 0x80800055;
        }
        window.className = number(0, 1) ? "Secret" : "";
        windows.push_back(painter.open(window));
    }
    std::size_t number(std::size_t from, std::size_t to)
    {
        return std::uniform_int_distribution(from, to)(random);
    }

    PainterProcess& painter;
    std::vector<std::uint32_t> windows;
    std::mt19937 random{4711};
    std::atomic<bool> done = false;
    std::thread thread{[this] { run(); }};
};

TEST_P(HiddenWindows, areInNoneOf500PicturesWhateverTheyDo)
{
    CaptureDesktop stage({.sessionBus = false}, GetParam());
    if (GetParam() && !stage.hasCompositor)
        GTEST_SKIP() << "picom is not installed";
    Painter(stage.desktop.display()).paintRoot(0x336699);
    PainterProcess others(stage.desktop, programOf(stage, "others"));
    PainterProcess secret(stage.desktop, programOf(stage, "secret"));
    others.open({.x = 0, .y = 0, .width = 400, .height = 300, .color = behind, .overrideRedirect = true});
    auto const cover =
        others.open({.x = 300, .y = 300, .width = 300, .height = 300, .color = 0x00aa55, .title = "cover"});
    stage.take({"secret"});
    int leaks = 0;
    int shown = 0;
    int covers = 0;
    {
        Restless const attack(secret);
        for (int i = 0; i < 500; ++i) {
            Picture const picture = stage.take({"secret", "Secret"});
            leaks += tintedIn(picture) > 0;
            shown += colorAt(picture, 200, 150) == behind;
            covers += countOf(picture, 0x00aa55) == 90'000u;
            if (i % 10 == 0)
                others.raise(cover);
            if (i % 50 == 49)
                others.move(cover, 300 + i % 7, 300);
        }
    }
    EXPECT_EQ(leaks, 0);
    // A window that may still show hidden pixels is left out of a picture, and on a busy machine its owner
    // needs a while to repaint.
    EXPECT_GE(shown, 475);
    EXPECT_GE(covers, 475);
}

TEST_P(HiddenWindows, ofEveryKindShowWhatLiesBehindThem)
{
    CaptureDesktop stage({.sessionBus = false}, GetParam());
    if (GetParam() && !stage.hasCompositor)
        GTEST_SKIP() << "picom is not installed";
    Painter(stage.desktop.display()).paintRoot(0x336699);
    PainterProcess others(stage.desktop, programOf(stage, "others"));
    PainterProcess secret(stage.desktop, programOf(stage, "secret"));
    others.open(
        {.x = 100, .y = 100, .width = 1000, .height = 700, .color = behind, .overrideRedirect = true});
    others.open({.x = 900,
                 .y = 300,
                 .width = 500,
                 .height = 300,
                 .color = 0x8000ffff,
                 .argb = true,
                 .overrideRedirect = true});
    // It fades in if there is a compositing manager.
    require("the first of it", [&] { return colorAt(stage.onTheScreen(), 1250, 450) != 0x336699; });
    stage.settledScreen();
    Painter(stage.desktop.display()).movePointer(1500, 50); // Over a hidden window it is not shown.
    // Stays hidden throughout, because both pictures are merged.
    secret.open({.x = 1800, .y = 20, .width = 20, .height = 20, .color = planted, .overrideRedirect = true});
    Picture before = stage.take({"secret"});
    require("a background at rest", [&] {
        Picture const last = std::exchange(before, stage.take({"secret"}));
        return differences(before, last) == 0u;
    });
    secret.open({.x = 150, .y = 150, .width = 300, .height = 200, .color = planted, .className = "Secret"});
    secret.open({.x = 500,
                 .y = 150,
                 .width = 300,
                 .height = 200,
                 .color = 0xffff00aa,
                 .argb = true,
                 .overrideRedirect = true});
    secret.open({.x = 700,
                 .y = 250,
                 .width = 300,
                 .height = 200,
                 .color = 0x60600040,
                 .argb = true,
                 .overrideRedirect = true});
    secret.open({.x = 300,
                 .y = 400,
                 .width = 300,
                 .height = 200,
                 .color = planted,
                 .overrideRedirect = true,
                 .shape = {{0, 0, 300, 20}, {100, 20, 50, 180}}});
    secret.open({.x = 600,
                 .y = 500,
                 .width = 200,
                 .height = 100,
                 .color = planted,
                 .overrideRedirect = true,
                 .border = 9,
                 .borderColor = planted});
    secret.open(
        {.x = -200, .y = -100, .width = 400, .height = 300, .color = planted, .overrideRedirect = true});
    secret.open(
        {.x = 1700, .y = 900, .width = 400, .height = 300, .color = planted, .overrideRedirect = true});
    secret.open({.x = 1000,
                 .y = 350,
                 .width = 200,
                 .height = 100,
                 .color = planted,
                 .overrideRedirect = true,
                 .emptyInputShape = true});
    // A compositing manager shows them late.
    ASSERT_TRUE(waitFor([&] { return tintedIn(stage.onTheScreen()) > 100'000u; }));

    Picture picture = stage.take({"secret"});

    keep(picture, GetParam() ? "kinds-compositor" : "kinds");
    EXPECT_EQ(tintedIn(picture), 0u);
    EXPECT_TRUE(waitFor([&] { // It may still paint the background.
        bool const isSame = differences(picture, before) == 0u;
        picture = stage.take({"secret"});
        EXPECT_EQ(tintedIn(picture), 0u);
        return isSame;
    }));
}

INSTANTIATE_TEST_SUITE_P(Without, HiddenWindows, testing::Values(false));
INSTANTIATE_TEST_SUITE_P(WithACompositor, HiddenWindows, testing::Values(true));

} // namespace
} // namespace zelvo::test
