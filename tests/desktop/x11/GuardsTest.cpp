#include "desktop/harness/PainterProcess.h"
#include "desktop/x11/LiveContexts.h"
#include "drivers/FrontWatch.h"
#include "drivers/FrontmostApp.h"
#include "drivers/HiddenAppGuard.h"
#include "drivers/OwnUiGuard.h"
#include "fakes/ErrorOf.h"
#include "fakes/FakeUserDefaults.h"
#include "platform/linux/system/LinuxClock.h"
#include "platform/linux/x11/XReply.h"
#include "platform/linux/x11/windows/X11FrontChanges.h"
#include "platform/linux/x11/windows/X11WindowList.h"
#include "platform/linux/x11/windows/X11Workspace.h"
#include "wire/AgentError.h"

#include <boost/asio/post.hpp>
#include <boost/asio/use_future.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>
#include <xcb/shape.h>

#include <atomic>
#include <thread>

namespace zelvo::test {
namespace {

using testing::Contains;
using testing::Not;

/// The guards on a real X server. "secret" is hidden, by the name of its executable.
class GuardsOnADesktop : public testing::Test {
protected:
    explicit GuardsOnADesktop(DesktopOptions const& options = {.sessionBus = false}) : desktop(options) {}

    void SetUp() override
    {
        desktop.adoptEnvironment();
        connection = X11Connection::open();
        layout = std::make_unique<X11DisplayLayout>(live.contexts(), connection);
        entries = std::make_unique<DesktopEntries>();
        survey = std::make_unique<RecentSurvey>(connection, 0ms);
        windows = std::make_unique<X11WindowList>(*survey, *layout, *entries);
        workspace = std::make_unique<X11Workspace>(connection, *entries);
        guard = std::make_unique<HiddenAppGuard>(live.contexts().workers, store, *workspace, *windows);
        live.run(store.add("secret"));
    }
    void TearDown() override { live.stop(); }

    std::filesystem::path program(std::string const& name) { return desktop.home() / "bin" / name; }
    bool isRefused(double x, double y)
    {
        auto const error = errorOf([&] { live.run(guard->assertPointAllowed({x, y})); });
        EXPECT_TRUE(!error || *error == AgentError::hiddenAppActive);
        return error.has_value();
    }
    bool isFrontRefused()
    {
        auto const error = errorOf([&] { live.run(guard->assertFrontmostAllowed()); });
        EXPECT_TRUE(!error || *error == AgentError::hiddenAppActive);
        return error.has_value();
    }
    bool isOwn(double x, double y)
    {
        ZelvoWindows own(*windows, ::getpid());
        return errorOf([&] { OwnUiGuard(own).assertClickAllowed({x, y}); }) == AgentError::zelvoUiProtected;
    }
    void bringToFront(std::uint32_t window)
    {
        require("the window in front", [&] {
            askToActivate(window);
            return waitFor([&] { return desktop.activeWindow() == window; }, 500ms);
        });
    }
    void askToActivate(std::uint32_t window)
    {
        Painter pager(desktop.display());
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window;
        message.type = atomOf(pager.x(), "_NET_ACTIVE_WINDOW");
        message.data.data32[0] = 2; // As a pager asks.
        xcb_send_event(pager.x(), 0, pager.root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<char const*>(&message));
        pager.sync();
    }

    PrivateDesktop desktop;
    LiveContexts live;
    FakeUserDefaults settings;
    HiddenAppsStore store{live.contexts().agent, settings};
    LinuxClock clock{live.contexts().agent};
    std::shared_ptr<X11Connection> connection;
    std::unique_ptr<X11DisplayLayout> layout;
    std::unique_ptr<DesktopEntries> entries;
    std::unique_ptr<RecentSurvey> survey;
    std::unique_ptr<X11WindowList> windows;
    std::unique_ptr<X11Workspace> workspace;
    std::unique_ptr<HiddenAppGuard> guard;
};

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

/// Counts reported changes of the front.
class ReportedChanges {
public:
    ReportedChanges(Contexts const& contexts, std::shared_ptr<X11Connection> const& server)
        : agent(contexts.agent), changes(contexts, server)
    {
        changes.observe([this] { ++count; });
    }
    ~ReportedChanges()
    {
        changes.observe({});
        asio::post(agent, asio::use_future).get(); // A report may be under way.
    }
    bool growBeyond(int before) const
    {
        return waitFor([&] { return count > before; }, 5s);
    }

    std::atomic<int> count = 0;
    Executor agent;
    X11FrontChanges changes;
};

TEST_F(GuardsOnADesktop, hearOfEveryWindowThatComesToTheFront)
{
    PainterProcess first(desktop, program("first"));
    std::uint32_t const one = first.open({.x = 100, .y = 100, .className = "First"});
    ReportedChanges const reported(live.contexts(), X11Connection::open());
    PainterProcess second(desktop, program("second"));
    std::uint32_t const two = second.open({.x = 300, .y = 100, .className = "Second"});
    EXPECT_TRUE(reported.growBeyond(0));
    for (std::uint32_t const window : {one, two, one}) {
        int const before = reported.count;
        bringToFront(window);
        EXPECT_TRUE(reported.growBeyond(before));
    }
}

TEST_F(GuardsOnADesktop, hearOfAWindowThatTakesTheFocusWithoutTheWindowManager)
{
    PainterProcess plain(desktop, program("plain"));
    bringToFront(plain.open({.x = 100, .y = 100, .className = "Plain"}));
    ReportedChanges const reported(live.contexts(), X11Connection::open());
    Painter menu(desktop.display());
    std::uint32_t const window = menu.open({.x = 300, .y = 300, .overrideRedirect = true});
    int const before = reported.count;

    xcb_set_input_focus(menu.x(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
    menu.sync();

    EXPECT_TRUE(reported.growBeyond(before));
}

TEST_F(GuardsOnADesktop, watchWhetherAHiddenApplicationIsInFront)
{
    std::atomic<int> barrings = 0;
    X11FrontChanges changes(live.contexts(), X11Connection::open());
    FrontWatch front(live.contexts(), changes, *workspace, store, ::getpid());
    front.start([&] { ++barrings; });
    PainterProcess plain(desktop, program("plain"));
    std::uint32_t const harmless = plain.open({.x = 300, .y = 100, .className = "Plain"});
    PainterProcess secret(desktop, program("secret"));
    std::uint32_t const hidden = secret.open({.x = 100, .y = 100, .className = "Keys"});

    bringToFront(hidden);
    EXPECT_TRUE(waitFor([&] { return barrings > 0; }, 5s)); // Without being asked.
    EXPECT_TRUE(live.run(front.isBarred()));
    bringToFront(harmless);
    EXPECT_FALSE(live.run(front.isBarred()));
    bringToFront(hidden);
    EXPECT_TRUE(waitFor([&] { return live.run(front.isBarred()); }, 5s));

    // Everything under way ends before what it uses.
    changes.observe({});
    EXPECT_TRUE(live.run(front.isBarred())); // Waits for all earlier looks.
    live.stop();
}

/// The watch with what tells it, like those of the program.
class WatchOnADesktop : public GuardsOnADesktop {
protected:
    using GuardsOnADesktop::GuardsOnADesktop;

    void SetUp() override
    {
        GuardsOnADesktop::SetUp();
        changes.emplace(live.contexts(), X11Connection::open());
        watched.emplace(X11Connection::open(), *entries, nullptr, changes->keyboardGrab());
        front.emplace(live.contexts(), *changes, *watched, store, ::getpid());
        front->start([this] { ++barrings; });
    }
    void TearDown() override
    {
        changes->observe({});
        live.run(front->isBarred()); // Waits for all earlier looks.
        GuardsOnADesktop::TearDown();
    }
    /// Asked as before each key.
    bool becomes(bool barred)
    {
        return waitFor([&] { return live.run(front->isBarred()) == barred; }, 5s);
    }
    void grab(Painter& by, std::uint32_t window)
    {
        require("a grab of the keyboard", [&] {
            auto const cookie = xcb_grab_keyboard(by.x(), 0, window, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC,
                                                  XCB_GRAB_MODE_ASYNC);
            XReply<xcb_grab_keyboard_reply_t> const reply(xcb_grab_keyboard_reply(by.x(), cookie, nullptr));
            return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
        });
    }
    void release(Painter& by)
    {
        xcb_ungrab_keyboard(by.x(), XCB_CURRENT_TIME);
        by.sync();
    }

    std::optional<X11FrontChanges> changes;
    std::optional<X11Workspace> watched;
    std::optional<FrontWatch> front;
    std::atomic<int> barrings = 0;
};

TEST_F(WatchOnADesktop, barsKeysWhileAHiddenApplicationHasGrabbedTheKeyboard)
{
    PainterProcess secret(desktop, program("secret"));
    std::uint32_t const hidden = secret.open({.x = 100, .y = 100, .className = "Keys"});
    PainterProcess plain(desktop, program("plain"));
    bringToFront(plain.open({.x = 300, .y = 100, .className = "Plain"}));
    ASSERT_TRUE(becomes(false));
    HiddenAppGuard checks(live.contexts().workers, store, *watched, *windows);
    auto const isRefused = [&] {
        return errorOf([&] { live.run(checks.assertFrontmostAllowed()); }) == AgentError::hiddenAppActive;
    };
    EXPECT_FALSE(isRefused());
    int const before = barrings;
    Painter grabber(desktop.display());

    grab(grabber, hidden);
    EXPECT_TRUE(waitFor([&] { return barrings > before; }, 5s)); // Without being asked.
    EXPECT_TRUE(live.run(front->isBarred()));
    EXPECT_TRUE(isRefused());

    release(grabber);
    EXPECT_TRUE(becomes(false));
    EXPECT_FALSE(isRefused());
}

TEST_F(WatchOnADesktop, barsKeysUntilAGrabGoesToAnotherWindowOrItsWindowGoes)
{
    PainterProcess secret(desktop, program("secret"));
    std::uint32_t const hidden = secret.open({.x = 100, .y = 100, .overrideRedirect = true});
    PainterProcess plain(desktop, program("plain"));
    bringToFront(plain.open({.x = 300, .y = 100, .className = "Plain"}));
    std::uint32_t const menu = plain.open({.x = 600, .y = 100, .overrideRedirect = true});
    Painter grabber(desktop.display());

    grab(grabber, menu);
    EXPECT_TRUE(becomes(false));
    grab(grabber, hidden);
    EXPECT_TRUE(becomes(true));
    grab(grabber, menu);
    EXPECT_TRUE(becomes(false));
    grab(grabber, hidden);
    EXPECT_TRUE(becomes(true));
    secret.unmap(hidden);
    EXPECT_TRUE(becomes(false));
}

TEST_F(WatchOnADesktop, barsKeysWhileAWindowOfOursHasGrabbedTheKeyboard)
{
    Painter own(desktop.display());
    std::uint32_t const ours = own.open({.x = 600, .y = 100, .overrideRedirect = true});
    PainterProcess plain(desktop, program("plain"));
    bringToFront(plain.open({.x = 300, .y = 100, .className = "Plain"}));
    ASSERT_TRUE(becomes(false));

    grab(own, ours);

    EXPECT_TRUE(becomes(true));
}

/// A desktop where keys go to what the pointer is over.
class WatchWithoutFocus : public WatchOnADesktop {
protected:
    WatchWithoutFocus() : WatchOnADesktop(DesktopOptions{.windowManager = false, .sessionBus = false}) {}
};

TEST_F(WatchWithoutFocus, barsKeysOnceThePointerIsOverAHiddenApplication)
{
    PainterProcess secret(desktop, program("secret"));
    secret.open({.x = 100, .y = 100, .className = "Keys"});
    PainterProcess plain(desktop, program("plain"));
    plain.open({.x = 500, .y = 100, .className = "Plain"});
    Painter person(desktop.display());
    for (std::uint32_t const focus : {std::uint32_t{XCB_INPUT_FOCUS_POINTER_ROOT}, person.root()}) {
        person.movePointer(550, 150);
        xcb_set_input_focus(person.x(), XCB_INPUT_FOCUS_POINTER_ROOT, focus, XCB_CURRENT_TIME);
        person.sync();
        ASSERT_TRUE(becomes(false));

        person.movePointer(150, 150);
        EXPECT_TRUE(becomes(true));
        person.movePointer(550, 150);
        EXPECT_TRUE(becomes(false));
    }
}

TEST_F(WatchWithoutFocus, barsKeysOnceAHiddenApplicationOpensUnderThePointer)
{
    PainterProcess plain(desktop, program("plain"));
    plain.open({.x = 100, .y = 100, .className = "Plain"});
    Painter person(desktop.display());
    person.movePointer(150, 150);
    xcb_set_input_focus(person.x(), XCB_INPUT_FOCUS_POINTER_ROOT, XCB_INPUT_FOCUS_POINTER_ROOT,
                        XCB_CURRENT_TIME);
    person.sync();
    ASSERT_TRUE(becomes(false));

    PainterProcess secret(desktop, program("secret"));
    secret.open({.x = 100, .y = 100, .className = "Keys"});

    EXPECT_TRUE(becomes(true));
}

} // namespace
} // namespace zelvo::test
