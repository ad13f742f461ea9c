#include "desktop/x11/HiddenWindowsFixture.h"

namespace zelvo::test {
namespace {

void unpaint(Painter& painter, std::uint32_t window)
{
    std::uint32_t const none = XCB_BACK_PIXMAP_NONE;
    xcb_change_window_attributes(painter.x(), window, XCB_CW_BACK_PIXMAP, &none);
    painter.sync();
}

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

} // namespace
} // namespace zelvo::test
