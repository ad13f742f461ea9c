#include "desktop/x11/CaptureDesktop.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdio>

namespace zelvo::test {
namespace {

using testing::IsEmpty;

constexpr std::uint32_t planted = 0xff00aa; // The hidden application's colour, which nothing else has.
constexpr std::uint32_t behind = 0x123456;

TEST(X11ScreenSource, givesWhatIsOnTheScreen)
{
    CaptureDesktop stage;
    PainterProcess painter(stage.desktop);
    painter.open({.x = 100, .y = 100, .width = 400, .height = 300, .color = 0xaa5500, .title = "one"});
    painter.open({.x = 300, .y = 200, .width = 400, .height = 300, .color = 0x0055aa, .title = "two"});
    Picture const screen = stage.settledScreen();

    Picture const picture = stage.take();

    EXPECT_EQ(picture.width, 1920);
    EXPECT_EQ(picture.height, 1080);
    EXPECT_EQ(picture.stride, 1920 * 4);
    EXPECT_EQ(differences(picture, screen, stage.desktopCorner), 0u);
}

/// Every kind of window at once: shaped, with alpha, with a border, partly off the screen, menu-like, on a
/// patterned root.
class Crowd {
public:
    explicit Crowd(CaptureDesktop& stage) : painter(stage.desktop)
    {
        stage.desktop.run({"xsetroot", "-mod", "7", "13", "-fg", "#405060", "-bg", "#a0b0c0"});
        painter.open({.x = 100, .y = 100, .width = 500, .height = 300, .color = 0xaa5500, .title = "framed"});
        painter.open(
            {.x = -80, .y = 500, .width = 300, .height = 200, .color = 0x00aa55, .overrideRedirect = true});
        painter.open(
            {.x = 1800, .y = -50, .width = 300, .height = 200, .color = 0x5500aa, .overrideRedirect = true});
        painter.open({.x = 700,
                      .y = 100,
                      .width = 300,
                      .height = 300,
                      .color = 0x00aaaa,
                      .overrideRedirect = true,
                      .shape = {{0, 0, 100, 300}, {100, 250, 200, 50}, {250, 20, 30, 30}}});
        painter.open({.x = 900,
                      .y = 150,
                      .width = 200,
                      .height = 200,
                      .color = 0x80400000,
                      .argb = true,
                      .overrideRedirect = true});
        painter.open({.x = 400,
                      .y = 300,
                      .width = 200,
                      .height = 100,
                      .color = 0xdddd00,
                      .overrideRedirect = true,
                      .border = 7,
                      .borderColor = 0x7700ff});
        painter.open({.x = 300, .y = 350, .width = 300, .height = 200, .color = behind, .title = "upper"});
        painter.open(
            {.x = 1200, .y = 600, .width = 100, .height = 100, .inputOnly = true, .overrideRedirect = true});
    }

    PainterProcess painter;
};

TEST(X11ScreenSource, composesExactlyWhatTheScreenWouldShow)
{
    CaptureDesktop stage;
    Crowd crowd(stage);
    Picture const screen = stage.settledScreen();
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    secret.open({.x = 50, .y = 50, .width = 1200, .height = 600, .color = planted, .overrideRedirect = true});
    EXPECT_GT(countOf(stage.onTheScreen(), planted), 600'000u);

    Picture const picture = stage.take({"secret"});

    keep(picture, "composed");
    EXPECT_EQ(countOf(picture, planted), 0u);
    EXPECT_EQ(differences(picture, screen, stage.desktopCorner), 0u);
}

TEST(X11ScreenSource, composesOnASmallerScreenToo)
{
    CaptureDesktop stage({.width = 1366, .height = 768, .sessionBus = false});
    stage.desktopCorner = {1340, 740};
    Crowd crowd(stage);
    Picture const screen = stage.settledScreen();
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    secret.open({.x = -100,
                 .y = 50,
                 .width = 2000,
                 .height = 2000,
                 .color = planted,
                 .overrideRedirect = true,
                 .className = "Secret"});

    Picture const picture = stage.take({"Secret"});

    EXPECT_EQ(picture.width, 1366);
    EXPECT_EQ(countOf(picture, planted), 0u);
    EXPECT_EQ(differences(picture, screen, stage.desktopCorner), 0u);
}

/// The part of a picture, pixel by pixel.
Picture cutOut(Picture const& whole, DisplayPart const& part)
{
    Picture cut{.width = part.width, .height = part.height, .stride = part.width * 4};
    cut.pixels = PixelBuffer(static_cast<std::size_t>(cut.stride) * static_cast<std::size_t>(cut.height));
    for (int y = 0; y < part.height; ++y)
        std::copy_n(whole.pixels.data() + (part.y + y) * whole.stride + part.x * 4, cut.stride,
                    cut.pixels.data() + y * cut.stride);
    return cut;
}

Picture takePart(CaptureDesktop& stage, DisplayPart const& part, std::set<std::string> excluded)
{
    CaptureRequest request{.display = stage.layout->current().displayId,
                           .width = part.width,
                           .height = part.height,
                           .excluded = std::move(excluded),
                           .part = part};
    return stage.live.run(stage.source->capture(std::move(request)));
}

TEST(X11ScreenSource, givesAPartAsItIsInTheWhole)
{
    CaptureDesktop stage;
    Crowd crowd(stage);
    Picture const screen = stage.settledScreen();
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");

    for (bool const hides : {false, true}) {
        if (hides)
            secret.open(
                {.x = 50, .y = 50, .width = 1200, .height = 600, .color = planted, .overrideRedirect = true});
        // The last one is at two edges of the screen, where windows end outside of it.
        for (DisplayPart const& part : {DisplayPart{90, 80, 700, 500}, DisplayPart{951, 203, 1, 1},
                                        DisplayPart{0, 400, 50, 400}, DisplayPart{1700, 0, 220, 300}}) {
            Picture const picture = takePart(stage, part, {"secret"});
            EXPECT_EQ(countOf(picture, planted), 0u) << part.x;
            EXPECT_EQ(differences(picture, cutOut(screen, part)), 0u) << part.x << " " << hides;
        }
    }
}

TEST(X11ScreenSource, refusesAPartThatIsNotOnTheDisplay)
{
    CaptureDesktop stage;
    EXPECT_EQ(takePart(stage, {1900, 1070, 20, 10}, {}).width, 20);
    for (DisplayPart const& part : {DisplayPart{1901, 0, 20, 10}, DisplayPart{0, 1071, 20, 10},
                                    DisplayPart{-1, 0, 20, 10}, DisplayPart{5000, 0, 20, 10}})
        EXPECT_THROW(takePart(stage, part, {}), ScreenFailure) << part.x;
}

TEST(X11ScreenSource, leavesOutThisProgramsOwnWindows)
{
    CaptureDesktop stage;
    PainterProcess painter(stage.desktop);
    painter.open({.x = 100, .y = 100, .width = 400, .height = 300, .color = behind, .title = "behind"});
    Picture const screen = stage.settledScreen();
    Painter own(stage.desktop.display());
    own.open({.x = 200,
              .y = 200,
              .width = 400,
              .height = 300,
              .color = planted,
              .overrideRedirect = true,
              .className = "X"});

    EXPECT_EQ(countOf(stage.take({"dev.zelvo.agent"}), planted), 0u);
    EXPECT_EQ(differences(stage.take({"dev.zelvo.agent"}), screen, stage.desktopCorner), 0u);
    EXPECT_EQ(countOf(stage.take({}), planted), 120'000u);
}

TEST(X11ScreenSource, leavesOutMenusAndWhatIsTransientForTheHidden)
{
    CaptureDesktop stage;
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "keeper");
    PainterProcess portal(stage.desktop, stage.desktop.home() / "bin" / "portal");
    auto const main = secret.open({.x = 100, .y = 100, .color = planted, .className = "Keeper"});
    secret.open(
        {.x = 150, .y = 150, .color = planted, .overrideRedirect = true}); // Nameless, known by its process.
    portal.open({.x = 600, .y = 100, .color = planted, .transientFor = main, .className = "Chooser"});
    portal.open({.x = 600, .y = 400, .color = 0x00ff00, .className = "Other"});

    for (char const* name : {"Keeper", "keeper"}) {
        Picture const picture = stage.take({name});
        EXPECT_EQ(countOf(picture, planted), 0u) << name;
        EXPECT_EQ(countOf(picture, 0x00ff00), 10'000u) << name;
    }
    EXPECT_GT(countOf(stage.take({"Nobody"}), planted), 20'000u);
}

TEST(X11ScreenSource, cutsHiddenClientsOutOfOthersWindows)
{
    CaptureDesktop stage;
    PainterProcess host(stage.desktop, stage.desktop.home() / "bin" / "host");
    PainterProcess hiddenEmbedded(stage.desktop, stage.desktop.home() / "bin" / "hiddenEmbedded");
    auto const around =
        host.open({.x = 100, .y = 100, .width = 300, .height = 300, .color = behind, .className = "Host"});
    auto const socket =
        host.open({.x = 50, .y = 50, .width = 200, .height = 200, .color = 0x00ff00, .parent = around});
    auto const plug = hiddenEmbedded.open(
        {.color = planted, .overrideRedirect = true, .mapped = false, .className = "HiddenEmbeddedWindow"});
    EXPECT_EQ(countOf(stage.take({"HiddenEmbeddedWindow"}), planted), 0u);
    hiddenEmbedded.embed(plug, socket, 20, 30); // Noticed, though no window of the root has changed.

    Picture const picture = stage.take({"HiddenEmbeddedWindow"});

    EXPECT_EQ(countOf(picture, planted), 0u);
    EXPECT_EQ(countOf(picture, 0x00ff00), 30'000u);
    EXPECT_EQ(countOf(picture, behind), 50'000u);
    EXPECT_EQ(countOf(stage.take({}), planted), 10'000u);
}

TEST(X11ScreenSource, noticesANewNameAtOnce)
{
    CaptureDesktop stage;
    PainterProcess painter(stage.desktop);
    Painter other(stage.desktop.display());
    auto const window = painter.open({.x = 100, .y = 100, .color = planted, .className = "Innocent"});
    EXPECT_EQ(countOf(stage.take({"Guilty"}), planted), 10'000u);
    other.setText(window, "WM_CLASS", std::string("guilty\0Guilty\0", 14));

    EXPECT_EQ(countOf(stage.take({"Guilty"}), planted), 0u);
}

TEST(X11ScreenSource, neverShowsAPixelOfTheHiddenWhateverItDoes)
{
    CaptureDesktop stage;
    PainterProcess painter(stage.desktop);
    auto const cover =
        painter.open({.x = 300, .y = 300, .width = 300, .height = 300, .color = behind, .title = "cover"});
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    std::atomic<bool> done = false;
    std::thread attack([&] {
        std::vector<std::uint32_t> windows;
        for (int i = 0; !done; ++i) {
            if (windows.size() < 4)
                windows.push_back(secret.open({.x = 37 * i % 1500,
                                               .y = 53 * i % 800,
                                               .width = 200 + i % 100,
                                               .height = 200,
                                               .color = planted,
                                               .overrideRedirect = i % 3 != 0,
                                               .className = i % 2 ? "Secret" : ""}));
            secret.move(windows.front(), 71 * i % 1700, 31 * i % 900);
            secret.raise(windows.front());
            secret.unmap(windows.back());
            secret.map(windows.back());
            if (i % 5 == 0) {
                secret.close(windows.front());
                windows.erase(windows.begin());
            }
        }
    });
    int shown = 0;
    for (int i = 0; i < 150; ++i) {
        Picture const picture = stage.take({"secret", "Secret"});
        EXPECT_EQ(countOf(picture, planted), 0u) << "picture " << i;
        shown += colorAt(picture, 450, 450) == behind;
        if (i % 10 == 0)
            painter.raise(cover);
    }
    done = true;
    attack.join();
    EXPECT_EQ(shown, 150);
}

TEST(X11ScreenSource, waitsUntilANewWindowOverAHiddenOneIsItsOwn)
{
    CaptureDesktop stage;
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    PainterProcess painter(stage.desktop);
    secret.open(
        {.x = 100, .y = 100, .width = 400, .height = 300, .color = planted, .overrideRedirect = true});
    stage.take({"secret"});
    // A window without a background first shows what was beneath it, and paints itself a little later.
    Painter unpainted(stage.desktop.display());
    auto const bare = unpainted.open(
        {.x = 200, .y = 150, .width = 100, .height = 100, .overrideRedirect = true, .mapped = false});
    std::uint32_t const none = XCB_BACK_PIXMAP_NONE;
    xcb_change_window_attributes(unpainted.x(), bare, XCB_CW_BACK_PIXMAP, &none);
    unpainted.map(bare);
    std::thread later([&] {
        std::this_thread::sleep_for(50ms); // As long as a toolkit takes.
        unpainted.paint(bare, 0x00ff00);
    });

    Picture const picture = stage.take({"secret"});

    later.join();
    EXPECT_EQ(countOf(picture, planted), 0u);
    EXPECT_EQ(countOf(picture, 0x00ff00), 10'000u);
}

TEST(X11ScreenSource, showsTheTrueBackgroundUnderTheHidden)
{
    CaptureDesktop stage({.windowManager = false, .sessionBus = false});
    Painter root(stage.desktop.display());
    root.paintRoot(0x336699);
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    secret.open({.x = 500, .y = 500, .color = planted, .overrideRedirect = true});

    EXPECT_EQ(colorAt(stage.take({"secret"}), 550, 550), 0x336699u);
    root.paintRoot(0x996633); // Of which no event tells.
    EXPECT_EQ(colorAt(stage.take({"secret"}), 550, 550), 0x996633u);

    std::uint32_t const none = XCB_BACK_PIXMAP_NONE;
    xcb_change_window_attributes(root.x(), root.root(), XCB_CW_BACK_PIXMAP, &none);
    root.sync();
    EXPECT_EQ(countOf(stage.take({"secret"}), planted),
              0u); // A root that paints nothing leaves no trace of it either.
}

TEST(X11ScreenSource, givesNothingOfTheHiddenUnderACompositor)
{
    CaptureDesktop stage({.sessionBus = false}, true);
    if (!stage.hasCompositor)
        GTEST_SKIP() << "picom is not installed";
    PainterProcess painter(stage.desktop);
    painter.open({.x = 100, .y = 100, .width = 400, .height = 300, .color = behind, .title = "one"});
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    auto const window = secret.open({.x = 300,
                                     .y = 200,
                                     .width = 400,
                                     .height = 300,
                                     .color = planted,
                                     .title = "two",
                                     .className = "Secret"});
    ASSERT_TRUE(waitFor([&] { return countOf(stage.onTheScreen(), planted) > 100'000; }));

    Picture const hidden = stage.take({"Secret"});
    keep(hidden, "compositor");
    EXPECT_EQ(countOf(hidden, planted), 0u);
    EXPECT_EQ(countOf(hidden, behind), 120'000u);
    EXPECT_GT(countOf(stage.take({}), planted), 100'000u);

    secret.unmap(window); // It fades away, which is no way to see it.
    for (int i = 0; i < 30; ++i) {
        Picture const picture = stage.take({"Secret"});
        for (int y = 200; y < 500; y += 20)
            EXPECT_EQ(colorAt(picture, 600, y), colorAt(picture, 900, y));
    }
    EXPECT_TRUE(waitFor([&] { return countOf(stage.onTheScreen(), planted) == 0; }));
}

TEST(X11ScreenSource, leavesOutARealApplicationWithAllItsWindows)
{
    CaptureDesktop stage;
    stage.desktop.start({"xterm", "-geometry", "100x40+300+200", "-e", "sh", "-c", "seq 1000; sleep 1000"});
    stage.desktop.waitForWindow({.className = "XTerm"});
    Painter(stage.desktop.display()).paintRoot(behind);
    Picture const before = stage.settledScreen();
    stage.desktop.start({"mousepad", "--disable-server"});
    stage.desktop.waitForWindow({.className = "Mousepad"});
    Picture const open = stage.settledScreen();
    keep(open, "real-open");
    ASSERT_GT(differences(open, before, stage.desktopCorner), 10'000u);

    Picture const without = stage.take({"org.xfce.mousepad"});

    keep(without, "real-without");
    // The terminal has lost the focus, which its frame and cursor show.
    EXPECT_LT(differences(without, before, stage.desktopCorner), 20'000u);
    EXPECT_GT(countOf(without, behind) + 1'000, countOf(before, behind)); // The pointer lies over some of it.
}

TEST(X11ScreenSource, hasThePointerInThePicture)
{
    CaptureDesktop stage;
    Painter pointer(stage.desktop.display());
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    pointer.paintRoot(0x808080);
    pointer.movePointer(600, 600);
    Picture const plain = stage.take();
    std::size_t const drawn = countOf(plain, 0x808080);
    EXPECT_LT(drawn, 1920u * 1080u);
    EXPECT_NE(colorAt(plain, 600, 600), 0x808080u);

    secret.open({.x = 0, .y = 0, .width = 1000, .height = 1000, .color = planted, .overrideRedirect = true});
    pointer.movePointer(1000, 1000);
    Picture const composed = stage.take({"secret"});

    EXPECT_EQ(countOf(composed, 0x808080), drawn);
    EXPECT_NE(colorAt(composed, 1000, 1000), 0x808080u);
}

TEST(X11ScreenSource, scalesByTheMeanOfThePixels)
{
    CaptureDesktop stage({.windowManager = false, .sessionBus = false});
    Painter painter(stage.desktop.display());
    painter.movePointer(1900, 1060);
    for (int x = 0; x < 400; x += 2)
        painter.open(
            {.x = x, .y = 0, .width = 1, .height = 400, .color = 0xffffff, .overrideRedirect = true});

    Picture const half = stage.take({}, 960, 540);
    EXPECT_EQ(half.width, 960);
    EXPECT_EQ(half.height, 540);
    EXPECT_NEAR(static_cast<int>(colorAt(half, 100, 100) & 0xff), 0x80, 2);
    Picture const odd = stage.take({"nobody"}, 1000, 563);
    EXPECT_EQ(odd.width, 1000);
    EXPECT_EQ(odd.height, 563);
    Picture const dot = stage.take({}, 1, 1);
    EXPECT_EQ(dot.pixels.size(), 4u);
}

TEST(X11ScreenSource, doesNotKeepACompositingManagerFromStarting)
{
    CaptureDesktop stage;
    Painter painter(stage.desktop.display());
    painter.paintRoot(0x808080);
    PainterProcess other(stage.desktop);
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    secret.open({.x = 1000, .y = 500, .color = planted, .overrideRedirect = true});
    other.open({.x = 200, .y = 200, .color = 0x80400000, .argb = true, .overrideRedirect = true});
    stage.take({"secret"});

    if (!stage.desktop.startCompositor())
        GTEST_SKIP() << "picom is not installed";

    EXPECT_TRUE(waitFor([&] { return (colorAt(stage.onTheScreen(), 250, 250) & 0xfcfcfc) == 0x804040; }))
        << std::hex << colorAt(stage.onTheScreen(), 250, 250);
    EXPECT_EQ(countOf(stage.take({"secret"}), planted), 0u);
}

TEST(X11ScreenSource, takesTheMainDisplayOnly)
{
    CaptureDesktop stage;
    Painter painter(stage.desktop.display());
    painter.paintRoot(0x808080);
    stage.desktop.run({"xrandr", "--setmonitor", "left", "960/200x1080/200+0+0", "none"});
    stage.desktop.run({"xrandr", "--setmonitor", "*right", "960/200x1080/200+960+0", "screen"});
    ASSERT_TRUE(waitFor([&] { return stage.layout->current().origin.x == 960; }));
    PainterProcess other(stage.desktop);
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    other.open({.x = 900, .y = 300, .color = behind, .overrideRedirect = true});
    secret.open({.x = 1000, .y = 500, .color = planted, .overrideRedirect = true});
    painter.movePointer(960, 600);

    Picture const whole = stage.take();
    EXPECT_EQ(whole.width, 960);
    EXPECT_EQ(countOf(whole, behind), 4'000u);
    EXPECT_EQ(colorAt(whole, 45, 550), planted);
    EXPECT_NE(colorAt(whole, 0, 600), 0x808080u); // The pointer.
    Picture const without = stage.take({"secret"});
    EXPECT_EQ(countOf(without, planted), 0u);
    EXPECT_EQ(countOf(without, behind), 4'000u);
    EXPECT_NE(colorAt(without, 0, 600), 0x808080u);
}

TEST(X11ScreenSource, knowsItsDisplaysInPoints)
{
    CaptureDesktop stage;
    std::atomic<int> changes = 0;
    stage.source->observeScreens([&] { ++changes; });
    stage.desktop.run({"sh", "-c", "echo 'Xft.dpi: 192' | xrdb -merge"});
    ASSERT_TRUE(waitFor([&] { return changes == 1; }));

    auto const screens = stage.source->screens();

    ASSERT_EQ(screens.size(), 1u);
    EXPECT_EQ(screens[0].widthPoints, 960);
    EXPECT_EQ(screens[0].heightPoints, 540);
    EXPECT_EQ(screens[0].scaleFactor, 2);
    EXPECT_EQ(stage.live.run(stage.source->capturableDisplays()), screens);
    EXPECT_EQ(stage.take({}, 960, 540).width, 960);
}

TEST(X11ScreenSource, refusesAPictureWithoutASize)
{
    CaptureDesktop stage;
    CaptureRequest request{.width = 0, .height = 100};
    EXPECT_THROW(stage.live.run(stage.source->capture(request)), ScreenFailure);
    request = {.width = 100, .height = -1};
    EXPECT_THROW(stage.live.run(stage.source->capture(request)), ScreenFailure);
}

TEST(X11ScreenSource, hasNothingToCaptureWithoutAServer)
{
    LiveContexts live;
    LinuxClock clock(live.contexts().agent);
    X11DisplayLayout layout(live.contexts(), nullptr);
    DesktopEntries entries;
    X11ScreenSource source(live.contexts(), clock, nullptr, layout, entries);

    EXPECT_THAT(source.screens(), IsEmpty());
    EXPECT_THAT(live.run(source.capturableDisplays()), IsEmpty());
    CaptureRequest const request{.width = 10, .height = 10};
    EXPECT_THROW(live.run(source.capture(request)), ScreenFailure);
    live.stop();
}

double bestOf(int times, std::function<void()> work)
{
    auto best = std::chrono::steady_clock::duration::max();
    for (int i = 0; i < times; ++i) {
        auto const start = std::chrono::steady_clock::now();
        work();
        best = std::min(best, std::chrono::steady_clock::now() - start);
    }
    return std::chrono::duration<double, std::milli>(best).count();
}

TEST(X11ScreenSource, isQuick)
{
    CaptureDesktop stage;
    Crowd crowd(stage);
    for (int i = 0; i < 4; ++i)
        crowd.painter.open(
            {.x = 100 * i, .y = 500, .width = 400, .height = 300, .color = 0x112233, .title = "more"});
    PainterProcess secret(stage.desktop, stage.desktop.home() / "bin" / "secret");
    double const whole = bestOf(30, [&] { stage.take({"dev.zelvo.agent"}); });
    secret.open({.x = 300, .y = 200, .width = 400, .height = 300, .color = planted, .className = "Secret"});
    double const composed = bestOf(30, [&] { stage.take({"dev.zelvo.agent", "Secret"}); });

    std::printf("whole %.2f ms, composed %.2f ms\n", whole, composed);
    EXPECT_LT(whole, 50);
    EXPECT_LT(composed, 100);
}

TEST(X11ScreenSource, namesTheExtensionsThatPicturesLack)
{
    CaptureDesktop const whole({.windowManager = false, .sessionBus = false});
    EXPECT_TRUE(whole.source->canCapture());
    EXPECT_TRUE(whole.source->missing().empty());

    CaptureDesktop const poor({.windowManager = false,
                               .sessionBus = false,
                               .serverArguments = {"-extension", "MIT-SHM", "-extension", "Composite"}});
    EXPECT_FALSE(poor.source->canCapture());
    EXPECT_EQ(poor.source->missing(), (std::vector<std::string>{"MIT-SHM", "Composite"}));
}

} // namespace
} // namespace zelvo::test
