#include "desktop/x11/GuardsFixture.h"

namespace zelvo::test {
namespace {

using testing::Contains;
using testing::Not;

TEST_F(GuardsOnADesktop, passAPointOnTheBareDesktop)
{
    PainterProcess secret(desktop, program("secret"));
    secret.open({.x = 100, .y = 100, .className = "Keys"});

    EXPECT_FALSE(isRefused(800, 800));
    EXPECT_TRUE(isRefused(150, 150));
}

TEST_F(GuardsOnADesktop, goByAnyNameOfAnApplication)
{
    PainterProcess keeper(desktop, program("keeper"));
    keeper.open({.x = 100, .y = 100, .className = "Keeper", .gtkApplicationId = "org.example.Keeper"});
    EXPECT_FALSE(isRefused(150, 150));
    for (std::string const name : {"keeper", "Keeper", "org.example.Keeper"}) {
        live.run(store.add(name));
        EXPECT_TRUE(isRefused(150, 150)) << name;
        live.run(store.remove(name));
    }
    EXPECT_FALSE(isRefused(150, 150));
}

TEST_F(GuardsOnADesktop, countTheFrameOfTheWindowManagerAsTheClients)
{
    PainterProcess secret(desktop, program("secret"));
    secret.open({.x = 100, .y = 100, .width = 200, .height = 200, .title = "Keys"});

    EXPECT_TRUE(isRefused(150, 90)); // The title bar.
    EXPECT_FALSE(isRefused(150, 60));
}

TEST_F(GuardsOnADesktop, countTheDesktopOfAFileManager)
{
    PainterProcess secret(desktop, program("secret"));
    PainterProcess editor(desktop, program("editor"));
    auto const icons = secret.open({.width = 1920,
                                    .height = 1080,
                                    .mapped = false,
                                    .className = "Icons",
                                    .type = "_NET_WM_WINDOW_TYPE_DESKTOP"});
    EXPECT_FALSE(isRefused(800, 800));
    secret.map(icons);
    editor.open({.x = 100, .y = 100, .className = "Editor"});

    EXPECT_TRUE(isRefused(800, 800));
    EXPECT_FALSE(isRefused(150, 150));
}

TEST_F(GuardsOnADesktop, countMenusThatNoWindowManagerHasInItsCare)
{
    PainterProcess secret(desktop, program("secret"));
    PainterProcess editor(desktop, program("editor"));
    editor.open({.x = 100, .y = 100, .width = 400, .height = 400, .className = "Editor"});
    secret.open({.x = 300, .y = 300, .overrideRedirect = true});
    editor.open({.x = 350, .y = 350, .width = 20, .height = 20, .overrideRedirect = true});

    EXPECT_FALSE(isRefused(200, 200));
    EXPECT_TRUE(isRefused(310, 310));
    EXPECT_FALSE(isRefused(360, 360)); // In front of the hidden one's.
}

TEST_F(GuardsOnADesktop, doNotCountShadows)
{
    PainterProcess secret(desktop, program("secret"));
    secret.open({.x = 200,
                 .y = 200,
                 .width = 300,
                 .height = 200,
                 .overrideRedirect = true,
                 .gtkFrameExtents = {{10, 20, 30, 40}}});

    EXPECT_FALSE(isRefused(205, 300));
    EXPECT_FALSE(isRefused(300, 225));
    EXPECT_TRUE(isRefused(211, 231));
    EXPECT_TRUE(isRefused(479, 359));
    EXPECT_FALSE(isRefused(481, 300));
    EXPECT_FALSE(isRefused(300, 361));
}

TEST_F(GuardsOnADesktop, lookThroughWhatTakesNoPointer)
{
    PainterProcess secret(desktop, program("secret"));
    PainterProcess editor(desktop, program("editor"));
    secret.open({.x = 100, .y = 100, .width = 300, .height = 300, .overrideRedirect = true});
    editor.open(
        {.x = 100, .y = 100, .width = 300, .height = 100, .overrideRedirect = true, .emptyInputShape = true});
    editor.open(
        {.x = 100, .y = 200, .width = 300, .height = 100, .inputOnly = true, .overrideRedirect = true});
    editor.open({.x = 100,
                 .y = 300,
                 .width = 300,
                 .height = 100,
                 .overrideRedirect = true,
                 .shape = {{0, 0, 100, 100}, {200, 50, 50, 50}}});

    EXPECT_TRUE(isRefused(150, 150));
    EXPECT_TRUE(isRefused(150, 250));
    EXPECT_FALSE(isRefused(150, 350)); // On the shaped window.
    EXPECT_TRUE(isRefused(250, 350));  // Through its hole.
    EXPECT_FALSE(isRefused(320, 375));
}

TEST_F(GuardsOnADesktop, lookThroughTheOpenPartsOfAnOverlay)
{
    PainterProcess secret(desktop, program("secret"));
    Painter overlay(desktop.display());
    PainterProcess dock(desktop, program("dock"));
    secret.open({.x = 100, .y = 100, .width = 300, .height = 300, .overrideRedirect = true});
    auto const over = dock.open({.width = 1920, .height = 1080, .overrideRedirect = true});
    EXPECT_FALSE(isRefused(150, 150));
    xcb_rectangle_t const icons{100, 300, 300, 50};
    xcb_shape_rectangles(overlay.x(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, over,
                         0, 0, 1, &icons);
    overlay.sync();

    EXPECT_TRUE(isRefused(150, 150));
    EXPECT_FALSE(isRefused(150, 320));
}

TEST_F(GuardsOnADesktop, countWhatIsTransientForTheHidden)
{
    PainterProcess secret(desktop, program("secret"));
    PainterProcess portal(desktop, program("portal"));
    auto const main = secret.open({.x = 100, .y = 100, .className = "Keys"});
    portal.open({.x = 500, .y = 100, .className = "Other"});
    EXPECT_FALSE(isRefused(550, 150));
    bringToFront(portal.open({.x = 800, .y = 100, .transientFor = main, .className = "Chooser"}));

    EXPECT_TRUE(isRefused(850, 150));
    EXPECT_FALSE(isRefused(550, 150)); // Another window of that process.
    EXPECT_TRUE(isFrontRefused());
}

TEST_F(GuardsOnADesktop, countTheHiddenInAnothersWindow)
{
    PainterProcess host(desktop, program("host"));
    PainterProcess secret(desktop, program("secret"));
    auto const around = host.open({.x = 100, .y = 100, .width = 300, .height = 300, .className = "Host"});
    bringToFront(around);
    auto const socket = host.open({.x = 50, .y = 50, .width = 200, .height = 200, .parent = around});
    auto const plug = secret.open({.overrideRedirect = true, .mapped = false});
    EXPECT_FALSE(isFrontRefused());

    secret.embed(plug, socket, 20, 30);

    EXPECT_TRUE(isRefused(175, 185));
    EXPECT_TRUE(isRefused(269, 279));
    EXPECT_FALSE(isRefused(165, 185)); // Beside it, in its socket.
    EXPECT_FALSE(isRefused(110, 110));
    EXPECT_FALSE(isRefused(271, 281));
    EXPECT_TRUE(isFrontRefused()); // The host may hand it what is typed.
    secret.unmap(plug);
    EXPECT_FALSE(isRefused(175, 185));
    EXPECT_FALSE(isFrontRefused());
}

TEST_F(GuardsOnADesktop, countTheHiddenInTheWindowManagersOwnWindow)
{
    Painter manager(desktop.display());
    PainterProcess host(desktop, program("host"));
    PainterProcess secret(desktop, program("secret"));
    auto const bar = host.open({.x = 1000, .y = 100, .width = 300, .height = 300, .overrideRedirect = true});
    auto const tray = host.open({.x = 50, .y = 50, .width = 200, .height = 200, .parent = bar});
    auto const icon = secret.open({.overrideRedirect = true, .mapped = false});
    xcb_change_property(manager.x(), XCB_PROP_MODE_REPLACE, manager.root(),
                        atomOf(manager.x(), "_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_WINDOW, 32, 1, &bar);
    manager.sync();
    auto const isListed = [&] {
        return std::ranges::any_of(windows->windows().value(),
                                   [&](WindowEntry const& each) { return each.id == bar; });
    };
    EXPECT_FALSE(isListed());

    secret.embed(icon, tray, 0, 0);

    EXPECT_TRUE(isListed());
    EXPECT_TRUE(isRefused(1060, 160));
    EXPECT_FALSE(isRefused(1010, 110));
    EXPECT_TRUE(workspace->application(secret.pid()));
}

TEST_F(GuardsOnADesktop, countAWindowWithTooManyInsideAsHidden)
{
    PainterProcess host(desktop, program("host"));
    auto const around = host.open({.x = 100, .y = 100, .width = 300, .height = 300, .className = "Host"});
    for (int i = 0; i < 2'000; ++i)
        host.open({.mapped = false, .parent = around});
    EXPECT_FALSE(isRefused(150, 150));
    for (int i = 0; i < 1'500; ++i)
        host.open({.mapped = false, .parent = around});

    EXPECT_TRUE(isRefused(150, 150));
    live.run(store.remove("secret"));
    EXPECT_FALSE(isRefused(150, 150));
}

/// A shape of as many rectangles as half its fields.
std::vector<xcb_rectangle_t> checkerboard(int fields)
{
    std::vector<xcb_rectangle_t> black;
    for (int row = 0; row < fields; ++row)
        for (int column = row % 2; column < fields; column += 2)
            black.push_back(
                {static_cast<std::int16_t>(2 * column), static_cast<std::int16_t>(2 * row), 2, 2});
    return black;
}

std::chrono::nanoseconds processorTime()
{
    timespec now{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

TEST_F(GuardsOnADesktop, lookThroughAShapeOfManyPartsQuickly)
{
    PainterProcess secret(desktop, program("secret"));
    PainterProcess lace(desktop, program("lace"));
    Painter other(desktop.display());
    secret.open({.x = 100, .y = 100, .width = 400, .height = 400, .overrideRedirect = true});
    auto const over = lace.open({.x = 100, .y = 100, .width = 400, .height = 400, .overrideRedirect = true});
    auto const black = checkerboard(200);
    for (xcb_shape_sk_t const kind : {XCB_SHAPE_SK_BOUNDING, XCB_SHAPE_SK_INPUT})
        xcb_shape_rectangles(other.x(), XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED, over, 0, 0,
                             static_cast<std::uint32_t>(black.size()), black.data());
    other.sync();

    auto const before = processorTime();
    auto const all = windows->windows();
    auto const spent = processorTime() - before;

    ASSERT_TRUE(all);
    EXPECT_LT(spent, 100ms); // In proportion to the parts, not to their square.
    EXPECT_FALSE(isRefused(101, 101));
    EXPECT_TRUE(isRefused(103, 101));
    EXPECT_TRUE(isRefused(101, 103));
    EXPECT_FALSE(isRefused(103, 103));
}

TEST_F(GuardsOnADesktop, countWhatIsEmbeddedInTheHidden)
{
    PainterProcess secret(desktop, program("secret"));
    PainterProcess guest(desktop, program("guest"));
    auto const around = secret.open({.x = 100, .y = 100, .width = 300, .height = 300, .className = "Keys"});
    auto const plug = guest.open({.overrideRedirect = true, .mapped = false, .className = "Guest"});
    guest.embed(plug, around, 50, 50);

    EXPECT_TRUE(isRefused(175, 175));
    EXPECT_TRUE(isRefused(110, 110));
}

TEST_F(GuardsOnADesktop, refuseTypingIntoTheHiddenThatTookTheFocus)
{
    PainterProcess editor(desktop, program("editor"));
    PainterProcess secret(desktop, program("secret"));
    bringToFront(editor.open({.x = 100, .y = 100, .className = "Editor"}));
    auto const prompt = secret.open({.x = 500, .y = 500, .overrideRedirect = true});
    EXPECT_FALSE(isFrontRefused());

    Painter other(desktop.display());
    xcb_set_input_focus(other.x(), XCB_INPUT_FOCUS_PARENT, prompt, XCB_CURRENT_TIME);
    other.sync();

    EXPECT_TRUE(isFrontRefused());
}

TEST_F(GuardsOnADesktop, refuseTypingFarBelowAWindowOfTheHidden)
{
    PainterProcess editor(desktop, program("editor"));
    PainterProcess secret(desktop, program("secret"));
    bringToFront(editor.open({.x = 100, .y = 100, .className = "Editor"}));
    std::uint32_t field = secret.open({.x = 500, .y = 500, .overrideRedirect = true});
    for (int depth = 0; depth < 40; ++depth)
        field = secret.open({.parent = field});
    EXPECT_FALSE(isFrontRefused());

    Painter other(desktop.display());
    xcb_set_input_focus(other.x(), XCB_INPUT_FOCUS_PARENT, field, XCB_CURRENT_TIME);
    other.sync();

    EXPECT_TRUE(isFrontRefused());
}

/// Where the focus follows the pointer, and for the moment after the focused window has closed.
TEST(GuardsWithoutAWindowManager, refuseTypingIntoTheHiddenUnderThePointer)
{
    PrivateDesktop desktop({.windowManager = false, .sessionBus = false});
    desktop.adoptEnvironment();
    PainterProcess secret(desktop, desktop.home() / "bin" / "secret");
    secret.open({.x = 100, .y = 100, .className = "Keys"});
    Painter other(desktop.display());
    auto const isHidden = [entries = std::make_unique<DesktopEntries>()] {
        auto const front = X11Workspace(X11Connection::open(), *entries).frontmostApplication();
        return front && front->names.isHidden({"secret"});
    };
    auto const focus = [&](std::uint32_t window, int x) {
        other.movePointer(x, 150);
        xcb_set_input_focus(other.x(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
        other.sync();
    };

    focus(XCB_INPUT_FOCUS_POINTER_ROOT, 150);
    EXPECT_TRUE(isHidden());
    focus(XCB_INPUT_FOCUS_POINTER_ROOT, 800);
    EXPECT_FALSE(isHidden());
    focus(XCB_INPUT_FOCUS_NONE, 150); // Then keys reach nobody.
    EXPECT_FALSE(isHidden());
    focus(other.root(), 150); // Everything in it: the window under the pointer.
    EXPECT_TRUE(isHidden());
}

TEST_F(GuardsOnADesktop, protectOurWindowsOfAnyKindButNoOverlays)
{
    Painter own(desktop.display());
    PainterProcess other(desktop, program("other"));
    own.open({.x = 100, .y = 100, .title = "main"});
    own.open({.x = 300, .y = 100, .overrideRedirect = true});
    own.open({.x = 500, .y = 100, .type = "_NET_WM_WINDOW_TYPE_DIALOG", .state = "_NET_WM_STATE_ABOVE"});
    own.open({.x = 700, .y = 100, .overrideRedirect = true, .emptyInputShape = true});
    other.open({.x = 900, .y = 100, .claimedPid = ::getpid()});
    other.open({.x = 100, .y = 100, .overrideRedirect = true}); // Even covered.

    EXPECT_TRUE(isOwn(150, 150));
    EXPECT_TRUE(isOwn(150, 90)); // Its title bar.
    EXPECT_TRUE(isOwn(350, 150));
    EXPECT_TRUE(isOwn(550, 150));
    EXPECT_FALSE(isOwn(750, 150));
    EXPECT_FALSE(isOwn(950, 150));
    EXPECT_FALSE(isOwn(1500, 800));
}

TEST_F(GuardsOnADesktop, waitForAnApplicationToComeToTheFront)
{
    PainterProcess editor(desktop, program("editor"));
    PainterProcess viewer(desktop, program("viewer"));
    bringToFront(editor.open({.x = 100, .y = 100, .className = "Editor"}));
    auto const current = [&]() -> Task<std::optional<ApplicationNames>> {
        auto const front = workspace->frontmostApplication();
        co_return front ? std::optional(front->names) : std::nullopt;
    };
    auto const wait = [&](std::string expected, Duration timeout) {
        return live.run(FrontmostApp::waitUntilFrontmost(clock, std::move(expected), timeout, 10ms, current));
    };
    EXPECT_EQ(wait("viewer", 50ms), (FrontmostApp::Outcome{false, "Editor"}));

    auto const next = viewer.open({.x = 500, .y = 100, .mapped = false, .className = "Viewer"});
    std::thread later([&] {
        std::this_thread::sleep_for(50ms);
        viewer.map(next);
        bringToFront(next);
    });
    EXPECT_EQ(wait("VIEWER", 5s), (FrontmostApp::Outcome{true, "Viewer"}));
    later.join();
}

using ApplicationsByProcess = GuardsOnADesktop;

TEST_F(ApplicationsByProcess, areKnownWithTheirFolderAndStart)
{
    Date const before = clock.date() - 1s; // The kernel counts in ticks.
    std::filesystem::create_directories(desktop.home() / "opt");
    std::filesystem::create_directory_symlink(desktop.home() / "opt", desktop.home() / "link");
    PainterProcess painter(desktop, desktop.home() / "link" / "tool");
    Date const after = clock.date() + 1s;
    EXPECT_EQ(workspace->application(painter.pid()), std::nullopt); // No window, no application.
    auto const window = painter.open({.x = 100, .y = 100, .className = "Tool"});

    auto const known = workspace->application(painter.pid());

    ASSERT_TRUE(known);
    EXPECT_EQ(known->pid, painter.pid());
    EXPECT_EQ(known->names.names.front(), "Tool");
    EXPECT_EQ(known->localizedName, "Tool");
    EXPECT_EQ(known->bundlePath, (desktop.home() / "opt").string()); // Links resolved.
    ASSERT_TRUE(known->launchDate);
    EXPECT_GT(*known->launchDate, before);
    EXPECT_LT(*known->launchDate, after);
    bringToFront(window);
    auto const front = workspace->frontmostApplication().value();
    EXPECT_EQ(front.bundlePath, known->bundlePath);
    EXPECT_LT(std::chrono::abs(front.launchDate.value() - *known->launchDate), 10ms);

    painter.minimise(window);
    EXPECT_TRUE(workspace->application(painter.pid()));
    std::filesystem::remove(desktop.home() / "opt" / "tool"); // By an update.
    EXPECT_EQ(workspace->application(painter.pid())->bundlePath, (desktop.home() / "opt").string());
}

TEST_F(ApplicationsByProcess, areKnownByMenusAndEmbeddedWindowsToo)
{
    PainterProcess host(desktop, program("host"));
    PainterProcess guest(desktop, program("guest"));
    PainterProcess menu(desktop, program("menu"));
    auto const around = host.open({.x = 100, .y = 100, .width = 300, .height = 300, .className = "Host"});
    auto const plug = guest.open({.overrideRedirect = true, .mapped = false});
    guest.embed(plug, around, 50, 50);
    menu.open({.overrideRedirect = true});

    EXPECT_THAT(workspace->application(guest.pid()).value().names.names, Contains("guest"));
    EXPECT_THAT(workspace->application(menu.pid()).value().names.names, Contains("menu"));
    EXPECT_THAT(workspace->application(host.pid()).value().names.names, Not(Contains("guest")));
}

TEST_F(ApplicationsByProcess, areHiddenByAnyOfTheirWindows)
{
    PainterProcess secret(desktop, program("secret"));
    PainterProcess portal(desktop, program("portal"));
    auto const main = secret.open({.x = 100, .y = 100, .className = "Keys"});
    portal.open({.x = 500, .y = 100, .className = "Portal"});
    auto const isHidden = [&] {
        return workspace->application(portal.pid()).value().names.isHidden({"secret"});
    };
    EXPECT_FALSE(isHidden());
    portal.open({.x = 500, .y = 300, .transientFor = main, .className = "Portal"});

    EXPECT_TRUE(isHidden());
}

TEST_F(ApplicationsByProcess, areThisProgramByItsProcessAlone)
{
    Painter own(desktop.display());
    own.open({.x = 100, .y = 100, .className = "Anything"});

    EXPECT_EQ(workspace->application(::getpid()).value().names.names,
              std::vector<std::string>{"dev.zelvo.agent"});
    EXPECT_EQ(workspace->application(1), std::nullopt); // That of another, without a window.
    EXPECT_EQ(workspace->application(-1), std::nullopt);
    EXPECT_EQ(workspace->application(0), std::nullopt);
}

} // namespace
} // namespace zelvo::test
