#include "desktop/harness/WaitFor.h"
#include "desktop/x11/CaptureDesktop.h"

#include <gtest/gtest.h>

#include <xcb/composite.h>
#include <xcb/xtest.h>

#include <atomic>
#include <random>
#include <thread>

namespace zelvo::test {
namespace {

constexpr std::uint32_t planted = 0xff00aa; // Nothing else on these desktops has more red than green in it.
constexpr std::uint32_t behind = 0x123456;

/// The pixels that contain any trace of the planted colour.
std::size_t tintedIn(Picture const& picture)
{
    std::size_t count = 0;
    for (std::size_t i = 0; i + 3 < picture.pixels.size(); i += 4)
        count += picture.pixels[i + 2] > picture.pixels[i + 1] + 24;
    return count;
}

void unpaint(Painter& painter, std::uint32_t window)
{
    std::uint32_t const none = XCB_BACK_PIXMAP_NONE;
    xcb_change_window_attributes(painter.x(), window, XCB_CW_BACK_PIXMAP, &none);
    painter.sync();
}

class HiddenWindows : public testing::TestWithParam<bool> {
protected:
    static std::filesystem::path program(CaptureDesktop& stage, std::string const& name)
    {
        return stage.desktop.home() / "bin" / name;
    }
    static std::size_t leak(CaptureDesktop& stage)
    {
        return tintedIn(stage.take({"secret", "Secret", "dev.zelvo.agent"}));
    }
};

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
    PainterProcess others(stage.desktop, program(stage, "others"));
    PainterProcess secret(stage.desktop, program(stage, "secret"));
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
    PainterProcess others(stage.desktop, program(stage, "others"));
    PainterProcess secret(stage.desktop, program(stage, "secret"));
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
    Picture const before = stage.take({"secret"});
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

    Picture const picture = stage.take({"secret"});

    keep(picture, GetParam() ? "kinds-compositor" : "kinds");
    EXPECT_EQ(tintedIn(picture), 0u);
    EXPECT_EQ(differences(picture, before), 0u);
}

INSTANTIATE_TEST_SUITE_P(Without, HiddenWindows, testing::Values(false));
INSTANTIATE_TEST_SUITE_P(WithACompositor, HiddenWindows, testing::Values(true));

class HiddenWindowsAmongOthers : public HiddenWindows {
protected:
    std::filesystem::path program(std::string const& name) { return HiddenWindows::program(stage, name); }
    std::size_t leak() { return HiddenWindows::leak(stage); }
    /// Redirects the whole desktop a second time, as a second start of the agent does.
    void startAgain()
    {
        stage.source.reset();
        require("the end of the first", [&] { return !isRedirected(); });
        stage.source = std::make_unique<X11ScreenSource>(stage.live.contexts(), stage.clock, stage.connection,
                                                         *stage.layout, *stage.entries);
    }

    /// Are the root's windows redirected to off-screen memory?
    bool isRedirected() const
    {
        Painter probe(stage.desktop.display());
        xcb_connection_t* const x = probe.x();
        auto const window =
            probe.open({.x = 1910, .y = 0, .width = 1, .height = 1, .overrideRedirect = true});
        XReply<xcb_composite_query_version_reply_t> const version(
            xcb_composite_query_version_reply(x, xcb_composite_query_version(x, 0, 4), nullptr));
        auto const cookie = xcb_composite_name_window_pixmap_checked(x, window, xcb_generate_id(x));
        return !XReply<xcb_generic_error_t>(xcb_request_check(x, cookie));
    }

    CaptureDesktop stage;
};

TEST_F(HiddenWindowsAmongOthers, areKnownByANewNameUnderTheNumberOfAnEarlierWindow)
{
    Painter other(stage.desktop.display());
    std::uint32_t first = 0;
    {
        PainterProcess painter(stage.desktop, program("painter"));
        first = painter.open({.x = 500, .y = 500, .color = planted, .className = "Innocent"});
        EXPECT_EQ(leak(), 10'000u);
    }
    PainterProcess painter(stage.desktop, program("painter"));
    auto const window = painter.open({.x = 500, .y = 500, .color = planted, .className = "Innocent"});
    ASSERT_EQ(window, first); // The server gives a new client the numbers of one that has gone.
    EXPECT_EQ(leak(), 10'000u);

    other.setText(window, "WM_CLASS", std::string("secret\0Secret\0", 14));

    EXPECT_EQ(leak(), 0u);
}

TEST_F(HiddenWindowsAmongOthers, leaveNothingInTheWindowTheyWereEmbeddedIn)
{
    PainterProcess secret(stage.desktop, program("secret"));
    PainterProcess host(stage.desktop, program("host"));
    Painter other(stage.desktop.display());
    auto const panel = host.open(
        {.x = 100, .y = 100, .width = 300, .height = 300, .color = behind, .overrideRedirect = true});
    unpaint(other, panel); // Its application paints when it comes to it.
    auto const icon = secret.open({.color = planted, .overrideRedirect = true, .mapped = false});
    secret.embed(icon, panel, 20, 30);
    EXPECT_EQ(leak(), 0u);

    secret.move(icon, 60, 60);
    EXPECT_EQ(leak(), 0u);
    secret.unmap(icon);
    EXPECT_EQ(leak(), 0u);

    host.paint(panel, behind);
    EXPECT_EQ(countOf(stage.take({"secret"}), behind), 90'000u);
}

TEST_F(HiddenWindowsAmongOthers, areNotShownByATab)
{
    Painter manager(stage.desktop.display());
    PainterProcess frames(stage.desktop, program("frames"));
    PainterProcess editor(stage.desktop, program("editor"));
    PainterProcess secret(stage.desktop, program("secret"));
    auto const frame = frames.open(
        {.x = 100, .y = 100, .width = 300, .height = 300, .color = 0x808080, .overrideRedirect = true});
    auto const text =
        editor.open({.color = behind, .overrideRedirect = true, .mapped = false, .className = "Editor"});
    auto const keys =
        secret.open({.color = planted, .overrideRedirect = true, .mapped = false, .className = "Secret"});
    for (auto const client : {text, keys}) {
        manager.setText(client, "WM_STATE", "normal");
        xcb_reparent_window(manager.x(), client, frame, 10, 30);
    }

    manager.map(keys);
    EXPECT_EQ(leak(), 0u);
    manager.unmap(keys);
    manager.map(text);
    EXPECT_EQ(countOf(stage.take({"Secret"}), behind), 10'000u);
    manager.unmap(text);
    manager.map(keys);
    EXPECT_EQ(leak(), 0u);
}

TEST_F(HiddenWindowsAmongOthers, areNotSeenInWhatTheyCoveredAtTheStart)
{
    PainterProcess secret(stage.desktop, program("secret"));
    PainterProcess others(stage.desktop, program("others"));
    Painter other(stage.desktop.display());
    auto const slow = others.open({.x = 200, .y = 150, .color = 0x00ff00, .overrideRedirect = true});
    unpaint(other, slow); // Its application hangs.
    others.open({.x = 200, .y = 300, .color = 0x0000ff, .overrideRedirect = true});
    secret.open(
        {.x = 250, .y = 100, .width = 400, .height = 300, .color = planted, .overrideRedirect = true});
    startAgain();

    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(leak(), 0u);

    EXPECT_EQ(countOf(stage.take({"secret"}), 0x00ff00), 0u); // Nothing of it is known to be its own.
    EXPECT_EQ(countOf(stage.take({"secret"}), 0x0000ff), 10'000u);
    others.paint(slow, 0x00ff00);
    EXPECT_EQ(countOf(stage.take({"secret"}), 0x00ff00), 10'000u);
}

TEST_F(HiddenWindowsAmongOthers, leaveATrayAsIconsComeAndGo)
{
    PainterProcess panel(stage.desktop, program("panel"));
    PainterProcess secret(stage.desktop, program("secret"));
    PainterProcess player(stage.desktop, program("player"));
    auto const tray = panel.open({.x = 0,
                                  .y = 1040,
                                  .width = 1920,
                                  .height = 40,
                                  .color = behind,
                                  .type = "_NET_WM_WINDOW_TYPE_DOCK"});
    auto const own =
        secret.open({.width = 32, .height = 32, .color = planted, .overrideRedirect = true, .mapped = false});
    auto const other = player.open(
        {.width = 32, .height = 32, .color = 0x00ff00, .overrideRedirect = true, .mapped = false});
    player.embed(other, tray, 4, 4);
    int leaks = 0;
    for (int i = 0; i < 30; ++i) {
        secret.embed(own, tray, 40 + i * 32, 4);
        leaks += leak() > 0;
        secret.unmap(own);
        leaks += leak() > 0;
        secret.embed(own, tray, 1800 - i * 8, 4);
        leaks += leak() > 0;
    }
    EXPECT_EQ(leaks, 0);
    EXPECT_EQ(countOf(stage.take({"secret"}), 0x00ff00), 1024u);
    secret.close(own);
    EXPECT_EQ(countOf(stage.take({"secret"}), behind), 1920u * 40 - 1024);
}

/// Makes a window a dock application, which the window manager puts into its own window.
void makeDockApplication(Painter& painter, std::uint32_t window)
{
    std::uint32_t const hints[9] = {2, 0, 0}; // The initial state: withdrawn.
    xcb_change_property(painter.x(), XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 32,
                        9, hints);
    painter.sync();
}

TEST_F(HiddenWindowsAmongOthers, areLeftOutOfTheWindowManagersDock)
{
    PainterProcess secret(stage.desktop, program("secret"));
    PainterProcess player(stage.desktop, program("player"));
    Painter other(stage.desktop.display());
    auto const dock = [&](PainterProcess& painter, std::uint32_t color) {
        auto const window = painter.open({.width = 64, .height = 64, .color = color, .mapped = false});
        makeDockApplication(other, window);
        painter.map(window);
        require("it in the dock", [&] { return countOf(stage.onTheScreen(), color) == 4096u; });
        return window;
    };
    auto const first = dock(secret, planted);
    dock(player, 0x00ff00);
    EXPECT_EQ(leak(), 0u);
    startAgain();
    EXPECT_EQ(leak(), 0u);
    EXPECT_EQ(countOf(stage.take({"secret"}), 0x00ff00), 4096u);

    dock(secret, 0xff00ab);
    EXPECT_EQ(leak(), 0u);
    secret.unmap(first);
    EXPECT_EQ(leak(), 0u);
}

/// Some window managers have a tray inside their bar.
TEST_F(HiddenWindowsAmongOthers, areLeftOutOfTheWindowManagersTray)
{
    PainterProcess manager(stage.desktop, program("manager"));
    PainterProcess secret(stage.desktop, program("secret"));
    Painter other(stage.desktop.display());
    auto const bar = manager.open(
        {.x = 100, .y = 100, .width = 300, .height = 300, .color = behind, .overrideRedirect = true});
    auto const tray = manager.open({.width = 300, .height = 300, .color = behind, .parent = bar});
    unpaint(other, tray);
    xcb_change_property(other.x(), XCB_PROP_MODE_REPLACE, other.root(),
                        atomOf(other.x(), "_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW, 32, 1, &bar);
    auto const icon = secret.open({.color = planted, .overrideRedirect = true, .mapped = false});
    secret.embed(icon, tray, 20, 30);

    EXPECT_EQ(leak(), 0u);
    EXPECT_EQ(countOf(stage.take({"secret"}), behind), 80'000u);
    secret.unmap(icon); // Nobody paints where it was.
    EXPECT_EQ(leak(), 0u);
}

TEST_F(HiddenWindowsAmongOthers, areLeftOutFarBelowAnothersWindow)
{
    PainterProcess host(stage.desktop, program("host"));
    PainterProcess secret(stage.desktop, program("secret"));
    std::uint32_t inner = host.open(
        {.x = 100, .y = 100, .width = 300, .height = 300, .color = behind, .overrideRedirect = true});
    for (int depth = 0; depth < 40; ++depth)
        inner = host.open({.width = 300, .height = 300, .color = behind, .parent = inner});
    auto const icon = secret.open({.color = planted, .overrideRedirect = true, .mapped = false});

    secret.embed(icon, inner, 20, 30);

    EXPECT_EQ(leak(), 0u);
    EXPECT_EQ(countOf(stage.take({"secret"}), behind), 80'000u);
}

TEST_F(HiddenWindowsAmongOthers, mayBeInAWindowWithTooManyOthers)
{
    PainterProcess host(stage.desktop, program("host"));
    auto const around = host.open(
        {.x = 100, .y = 100, .width = 300, .height = 300, .color = behind, .overrideRedirect = true});
    EXPECT_EQ(countOf(stage.take({"secret"}), behind), 90'000u);
    for (int i = 0; i < 3'500; ++i)
        host.open({.mapped = false, .parent = around});

    EXPECT_EQ(countOf(stage.take({"secret", "dev.zelvo.agent"}), behind), 0u);
    EXPECT_EQ(countOf(stage.take({"dev.zelvo.agent"}), behind), 90'000u);
}

/// Sets the picture of the pointer in a window: a square of the planted colour.
void setPointer(Painter& painter, std::uint32_t window)
{
    auto* const x = painter.x();
    xcb_pixmap_t const square = xcb_generate_id(x);
    xcb_create_pixmap(x, 1, square, painter.root(), 16, 16);
    xcb_gcontext_t const pen = xcb_generate_id(x);
    std::uint32_t const set = 1;
    xcb_create_gc(x, pen, square, XCB_GC_FOREGROUND, &set);
    xcb_rectangle_t const all{0, 0, 16, 16};
    xcb_poly_fill_rectangle(x, square, pen, 1, &all);
    xcb_cursor_t const cursor = xcb_generate_id(x);
    xcb_create_cursor(x, cursor, square, square, 0xffff, 0, 0xaaaa, 0xffff, 0, 0xaaaa, 0, 0);
    xcb_change_window_attributes(x, window, XCB_CW_CURSOR, &cursor);
    painter.sync();
}

class PointersOfTheHidden : public HiddenWindowsAmongOthers {
protected:
    std::size_t leakAt(int x, int y)
    {
        other.movePointer(x, y);
        return leak();
    }

    PainterProcess secret{stage.desktop, program("secret")};
    PainterProcess host{stage.desktop, program("host")};
    Painter other{stage.desktop.display()};
};

TEST_F(PointersOfTheHidden, areInNoPicture)
{
    auto const plain = host.open(
        {.x = 100, .y = 100, .width = 300, .height = 300, .color = behind, .overrideRedirect = true});
    auto const keys = secret.open({.x = 500, .y = 100, .color = planted, .overrideRedirect = true});
    auto const framed = secret.open({.x = 500, .y = 400, .color = planted});
    setPointer(other, plain);
    setPointer(other, keys);
    setPointer(other, framed);

    EXPECT_EQ(leakAt(510, 110), 0u);
    EXPECT_EQ(leakAt(510, 410), 0u);
    EXPECT_EQ(leakAt(510, 390), 0u);   // Its frame.
    EXPECT_EQ(leakAt(150, 150), 256u); // Another application's is shown.
}

TEST_F(PointersOfTheHidden, areInNoPictureOfTheScreenItself)
{
    auto const seeThrough = secret.open(
        {.x = 100, .y = 100, .width = 300, .height = 300, .inputOnly = true, .overrideRedirect = true});
    setPointer(other, seeThrough);

    EXPECT_EQ(leakAt(150, 150), 0u);
}

TEST_F(PointersOfTheHidden, areInNoPictureWhileTheyDrag)
{
    auto const keys = secret.open({.x = 500, .y = 100, .color = planted, .overrideRedirect = true});
    setPointer(other, keys);
    other.paintRoot(0x808080);
    std::uint32_t const presses = XCB_EVENT_MASK_BUTTON_PRESS;
    xcb_change_window_attributes(other.x(), keys, XCB_CW_EVENT_MASK, &presses);
    other.movePointer(510, 110);
    xcb_test_fake_input(other.x(), XCB_BUTTON_PRESS, 1, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    other.sync();
    EXPECT_EQ(leakAt(1000, 800), 0u); // The server shows the same image until the button is released.

    xcb_test_fake_input(other.x(), XCB_BUTTON_RELEASE, 1, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    other.sync();
    EXPECT_NE(colorAt(stage.take({"secret"}), 1000, 800), 0x808080u); // The desktop's own image.
}

TEST_F(PointersOfTheHidden, areInNoPictureOfTheirHost)
{
    auto const panel = host.open(
        {.x = 100, .y = 100, .width = 300, .height = 300, .color = behind, .overrideRedirect = true});
    auto const icon = secret.open({.color = planted, .overrideRedirect = true, .mapped = false});
    secret.embed(icon, panel, 20, 30);
    setPointer(other, panel);
    setPointer(other, icon);

    EXPECT_EQ(leakAt(150, 150), 0u);
    EXPECT_EQ(leakAt(300, 300), 256u);
}

/// A real GTK application that is hidden and fills its window with the planted colour.
class HiddenGtkApplication : public HiddenWindowsAmongOthers {
protected:
    pid_t start(std::string const& name, std::string const& parent = {})
    {
        std::vector<std::string> command = {"/usr/bin/python3", ZELVO_X11_TEST_FOLDER "/gtk_windows.py", name,
                                            "#ff00aa"};
        if (!parent.empty())
            command.push_back(parent);
        return stage.desktop.start(command);
    }
    void SetUp() override
    {
        Painter(stage.desktop.display()).paintRoot(0x336699);
        keeper = start("secret");
        main = stage.desktop.waitForWindow({.title = "secret main"});
        require("its colour", [&] { return seen() > 50'000; });
    }
    std::size_t seen() { return tintedIn(stage.onTheScreen()); }
    /// Takes pictures until the screen shows more of the application than before; returns how many contained
    /// any of it.
    int leaksUntilMoreThan(std::size_t before)
    {
        int leaks = 0;
        require("another window of its", [&] {
            leaks += leak() > 0;
            return seen() > before;
        });
        for (int i = 0; i < 20; ++i)
            leaks += leak() > 0;
        return leaks;
    }

    pid_t keeper = 0;
    std::uint32_t main = 0;
};

TEST_F(HiddenGtkApplication, isLeftOutWithItsMenu)
{
    std::size_t const before = seen();
    ::kill(keeper, SIGUSR1);
    EXPECT_EQ(leaksUntilMoreThan(before), 0);
}

TEST_F(HiddenGtkApplication, isLeftOutWithItsTooltip)
{
    std::size_t const before = seen();
    Painter pointer(stage.desktop.display());
    pointer.movePointer(1000, 1000);
    DesktopPoint const inside = [&] {
        auto const cookie = xcb_translate_coordinates(pointer.x(), main, pointer.root(), 150, 190);
        XReply<xcb_translate_coordinates_reply_t> const reply(
            xcb_translate_coordinates_reply(pointer.x(), cookie, nullptr));
        return DesktopPoint{double(reply->dst_x), double(reply->dst_y)};
    }();
    pointer.movePointer(int(inside.x) - 20, int(inside.y));
    pointer.movePointer(int(inside.x), int(inside.y));
    EXPECT_EQ(leaksUntilMoreThan(before), 0);
}

TEST_F(HiddenGtkApplication, isLeftOutWithItsFileChooser)
{
    std::size_t const before = seen();
    ::kill(keeper, SIGUSR2);
    EXPECT_EQ(leaksUntilMoreThan(before + 50'000), 0);
}

TEST_F(HiddenGtkApplication, isLeftOutWithTheFileChooserOfAnother)
{
    std::size_t const before = seen();
    start("portal", std::to_string(main));
    EXPECT_EQ(leaksUntilMoreThan(before + 50'000), 0);
}

} // namespace
} // namespace zelvo::test
