#include "platform/linux/x11/windows/X11WindowList.h"

#include "desktop/harness/PainterProcess.h"
#include "desktop/x11/LiveContexts.h"
#include "platform/linux/x11/windows/X11Workspace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <chrono>
#include <fstream>

namespace zelvo::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

class WindowsOnADesktop : public testing::Test {
protected:
    PrivateDesktop desktop{{.sessionBus = false}};
    LiveContexts live;
    std::shared_ptr<X11Connection> connection;
    std::unique_ptr<X11DisplayLayout> layout;
    std::unique_ptr<DesktopEntries> entries;
    std::unique_ptr<RecentSurvey> survey;
    std::unique_ptr<X11WindowList> list;
    std::unique_ptr<X11Workspace> workspace;

    void SetUp() override
    {
        desktop.adoptEnvironment();
        connection = X11Connection::open();
        layout = std::make_unique<X11DisplayLayout>(live.contexts(), connection);
        entries = std::make_unique<DesktopEntries>();
        survey = std::make_unique<RecentSurvey>(connection, 0ms);
        list = std::make_unique<X11WindowList>(*survey, *layout, *entries);
        workspace = std::make_unique<X11Workspace>(connection, *entries);
    }
    void TearDown() override { live.stop(); }

    WindowEntry entryAt(double x, double y)
    {
        auto const windows = list->windows().value();
        for (WindowEntry const& entry : windows)
            if (entry.bounds->contains({x, y}))
                return entry;
        return {};
    }
    void addEntry(std::string const& id, std::string const& lines)
    {
        std::filesystem::create_directories(desktop.dataHome() / "applications");
        std::ofstream(desktop.dataHome() / "applications" / (id + ".desktop"))
            << "[Desktop Entry]\nType=Application\nName=" << id << "\n"
            << lines;
    }
};

TEST_F(WindowsOnADesktop, areNoneOnABareOne)
{
    EXPECT_THAT(list->windows().value(), IsEmpty()); // The window manager's own are left out.
    EXPECT_EQ(workspace->frontmostApplication(), std::nullopt);
}

TEST_F(WindowsOnADesktop, comeFrontToBackWithTheirFrames)
{
    PainterProcess painter(desktop, desktop.home() / "bin" / "tool");
    painter.open({.x = 100, .y = 100, .width = 200, .height = 100, .className = "Lower"});
    painter.open({.x = 150, .y = 150, .width = 200, .height = 100, .className = "Upper"});
    painter.open({.x = 160, .y = 160, .width = 20, .height = 20, .overrideRedirect = true});

    auto const windows = list->windows().value();

    ASSERT_EQ(windows.size(), 3u);
    EXPECT_EQ(windows[0].layer, 25);
    EXPECT_EQ(windows[0].bounds, (DesktopRect{160, 160, 20, 20}));
    EXPECT_EQ(windows[1].owner.names.front(), "Upper");
    EXPECT_EQ(windows[1].layer, 0);
    EXPECT_THAT(windows[1].owner.names, Contains("tool"));
    EXPECT_EQ(windows[1].ownerPid, painter.pid()); // Not the window manager, whose frame it is.
    EXPECT_EQ(windows[2].owner.names.front(), "Lower");
    EXPECT_TRUE(windows[2].bounds->contains({110, 90})) << "the title bar belongs to the window";
    EXPECT_FALSE(windows[2].bounds->contains({110, 60}));
}

TEST_F(WindowsOnADesktop, leaveOutWhatCannotBeClicked)
{
    PainterProcess painter(desktop);
    painter.open({.overrideRedirect = true, .emptyInputShape = true});
    painter.open({.inputOnly = true, .overrideRedirect = true});
    painter.open({.overrideRedirect = true, .mapped = false});

    EXPECT_THAT(list->windows().value(), IsEmpty());
}

TEST_F(WindowsOnADesktop, areToldFromTheDesktopItself)
{
    PainterProcess painter(desktop);
    painter.open(
        {.width = 1920, .height = 1080, .className = "Desktop", .type = "_NET_WM_WINDOW_TYPE_DESKTOP"});
    painter.open({.x = 100, .y = 100, .className = "Editor"});

    auto const windows = list->windows().value();

    ASSERT_EQ(windows.size(), 2u);
    EXPECT_FALSE(windows[0].isDesktop);
    EXPECT_TRUE(windows[1].isDesktop);
}

TEST_F(WindowsOnADesktop, areOnLayersByTheirStanding)
{
    PainterProcess painter(desktop);
    painter.open({.x = 10, .y = 100, .state = "_NET_WM_STATE_ABOVE"});
    painter.open({.x = 10, .y = 400, .type = "_NET_WM_WINDOW_TYPE_DOCK"});
    Painter own(desktop.display());
    own.open({.x = 500, .y = 100});
    own.open({.x = 500, .y = 400, .overrideRedirect = true});

    EXPECT_EQ(entryAt(50, 150).layer, 3);
    EXPECT_EQ(entryAt(50, 450).layer, 3);
    EXPECT_EQ(entryAt(550, 150).layer, 8);
    EXPECT_EQ(entryAt(550, 450).layer, 8);
    EXPECT_THAT(entryAt(550, 450).owner.names, ElementsAre("dev.zelvo.agent"));
    EXPECT_EQ(entryAt(550, 450).ownerPid, ::getpid());
}

TEST_F(WindowsOnADesktop, cannotClaimToBeOurs)
{
    PainterProcess painter(desktop, desktop.home() / "bin" / "dev.zelvo.agent");
    painter.open({.x = 100,
                  .y = 100,
                  .instance = "dev.zelvo.agent",
                  .className = "dev.zelvo.agent",
                  .claimedPid = ::getpid(),
                  .gtkApplicationId = "dev.zelvo.agent"});

    WindowEntry const entry = entryAt(150, 150);

    EXPECT_EQ(entry.ownerPid, painter.pid());
    EXPECT_EQ(entry.layer, 0);
    EXPECT_THAT(entry.owner.names, IsEmpty());
}

TEST_F(WindowsOnADesktop, haveBoundsWithoutTheirShadows)
{
    PainterProcess painter(desktop);
    painter.open({.x = 200,
                  .y = 200,
                  .width = 300,
                  .height = 200,
                  .overrideRedirect = true,
                  .gtkFrameExtents = {{10, 20, 30, 40}}});

    EXPECT_EQ(list->windows()->front().bounds, (DesktopRect{210, 230, 270, 130}));
}

TEST_F(WindowsOnADesktop, areInPointsOfAScaledDisplayThatIsNotAtTheOrigin)
{
    desktop.run({"sh", "-c", "echo 'Xft.dpi: 192' | xrdb -merge"});
    desktop.run({"xrandr", "--setmonitor", "*right", "960/200x1080/200+960+0", "screen"});
    ASSERT_TRUE(waitFor([&] { return layout->current().scale == 2 && layout->current().origin.x == 960; }));
    PainterProcess painter(desktop);
    painter.open({.x = 1000, .y = 200, .width = 300, .height = 100, .overrideRedirect = true});

    EXPECT_EQ(list->windows()->front().bounds, (DesktopRect{20, 100, 150, 50}));
}

TEST_F(WindowsOnADesktop, belongToWhomTheyAreTransientFor)
{
    PainterProcess secret(desktop, desktop.home() / "bin" / "secret");
    PainterProcess portal(desktop, desktop.home() / "bin" / "portal");
    auto const parent = secret.open({.x = 100, .y = 100, .className = "Secret"});
    auto const chooser = portal.open({.x = 500, .y = 100, .transientFor = parent, .className = "Chooser"});
    portal.open({.x = 500, .y = 300, .overrideRedirect = true, .transientFor = chooser});
    secret.unmap(parent); // Also when that window is not on the screen any more.

    EXPECT_THAT(entryAt(550, 150).owner.names, IsSupersetOf({"Chooser", "portal", "Secret", "secret"}));
    EXPECT_THAT(entryAt(550, 350).owner.names, IsSupersetOf({"portal", "Secret", "secret"}));
    EXPECT_EQ(entryAt(550, 150).owner.identifier(), "Secret"); // Neither has an entry.
    EXPECT_EQ(entryAt(550, 350).owner.identifier(), "Secret");
}

TEST_F(WindowsOnADesktop, belongToTheirGroupsLeader)
{
    addEntry("org.example.led", "StartupWMClass=Led\n");
    addEntry("org.example.hinted", "StartupWMClass=Hinted\n");
    PainterProcess painter(desktop);
    auto const leader = painter.open({.mapped = false, .className = "Led"});
    auto const other = painter.open({.mapped = false, .className = "Hinted"});
    auto const window = painter.open({.x = 100, .y = 100, .className = "Palette"});
    EXPECT_EQ(entryAt(150, 150).owner.identifier(), "Palette");

    Painter ours(desktop.display());
    auto const set = [&](xcb_atom_t atom, std::vector<std::uint32_t> const& numbers) {
        xcb_change_property(ours.x(), XCB_PROP_MODE_REPLACE, window, atom, XCB_ATOM_WINDOW, 32,
                            static_cast<std::uint32_t>(numbers.size()), numbers.data());
        ours.sync();
    };
    set(atomOf(ours.x(), "WM_CLIENT_LEADER"), {leader});
    EXPECT_EQ(entryAt(150, 150).owner.identifier(), "org.example.led");
    set(XCB_ATOM_WM_HINTS, {64, 0, 0, 0, 0, 0, 0, 0, other}); // The hints go before.
    EXPECT_EQ(entryAt(150, 150).owner.identifier(), "org.example.hinted");
    set(XCB_ATOM_WM_HINTS, {0, 0, 0, 0, 0, 0, 0, 0, other}); // They do not say so.
    EXPECT_EQ(entryAt(150, 150).owner.identifier(), "org.example.led");
    set(atomOf(ours.x(), "WM_CLIENT_LEADER"), {window});
    EXPECT_EQ(entryAt(150, 150).owner.identifier(), "Palette");
    EXPECT_EQ(workspace->runningApplications().size(), 1u); // Leaders are no windows of applications.
}

TEST_F(WindowsOnADesktop, nameTheClientsEmbeddedInThem)
{
    PainterProcess host(desktop, desktop.home() / "bin" / "host");
    PainterProcess guest(desktop, desktop.home() / "bin" / "guest");
    auto const around = host.open({.x = 100, .y = 100, .width = 300, .height = 300, .className = "Host"});
    auto const socket = host.open({.x = 50, .y = 50, .width = 200, .height = 200, .parent = around});
    auto const plug = guest.open({.overrideRedirect = true, .mapped = false, .className = "Guest"});
    guest.embed(plug, socket, 0, 0);

    WindowEntry const entry = entryAt(110, 110);
    EXPECT_THAT(entry.owner.names, IsSupersetOf({"Host", "host"}));
    EXPECT_THAT(entry.owner.names, Not(Contains("guest")));
    ASSERT_EQ(entry.embedded.size(), 1u);
    EXPECT_EQ(entry.embedded[0].bounds, (DesktopRect{150, 150, 100, 100}));
    EXPECT_THAT(entry.embedded[0].owner.names, IsSupersetOf({"Guest", "guest"}));
}

TEST_F(WindowsOnADesktop, areCheapToList)
{
    PainterProcess painter(desktop);
    for (int i = 0; i < 30; ++i)
        painter.open({.x = 20 * i, .y = 20 * i, .className = "Many"});
    ASSERT_EQ(list->windows()->size(), 30u);

    auto best = std::chrono::steady_clock::duration::max();
    for (int i = 0; i < 20; ++i) {
        auto const start = std::chrono::steady_clock::now();
        list->windows();
        best = std::min(best, std::chrono::steady_clock::now() - start);
    }

    double const ms = std::chrono::duration<double, std::milli>(best).count();
    RecordProperty("milliseconds", std::to_string(ms));
    std::printf("30 windows: %.2f ms\n", ms);
    EXPECT_LT(ms, 10);
}

TEST_F(WindowsOnADesktop, areLookedAtOnceForLooksInARow)
{
    RecentSurvey lasting(connection, 1h);
    auto const first = lasting.look();
    ASSERT_TRUE(first);
    EXPECT_EQ(lasting.look(), first);

    auto const now = survey->look();
    EXPECT_NE(survey->look(), now);
}

TEST_F(WindowsOnADesktop, areNoListWhenTheServerIsGone)
{
    RecentSurvey none(nullptr);
    X11WindowList nowhere(none, *layout, *entries);
    EXPECT_EQ(nowhere.windows(), std::nullopt);
    EXPECT_EQ(X11Workspace(nullptr, *entries).frontmostApplication(), std::nullopt);
}

TEST_F(WindowsOnADesktop, areInFrontByTheWindowManagersWord)
{
    addEntry("org.example.Painter", "Exec=" + (desktop.home() / "bin" / "painter").string() + "\n");
    PainterProcess painter(desktop, desktop.home() / "bin" / "painter");
    painter.open({.x = 100, .y = 100, .title = "one"});
    ASSERT_TRUE(waitFor([&] { return desktop.activeWindow() != 0; }));

    auto const front = workspace->frontmostApplication();

    ASSERT_TRUE(front);
    EXPECT_EQ(front->pid, painter.pid());
    EXPECT_EQ(front->names.identifier(), "org.example.Painter");
    EXPECT_EQ(front->localizedName, "org.example.Painter");
}

TEST_F(WindowsOnADesktop, areInFrontWhenTheyAreOurs)
{
    Painter own(desktop.display());
    own.open({.x = 100, .y = 100, .className = "Anything"});
    ASSERT_TRUE(waitFor([&] { return desktop.activeWindow() != 0; }));

    EXPECT_THAT(workspace->frontmostApplication()->names.names, ElementsAre("dev.zelvo.agent"));
}

TEST(WindowsWithoutAWindowManager, areInFrontByTheFocus)
{
    PrivateDesktop desktop({.windowManager = false, .sessionBus = false});
    desktop.adoptEnvironment();
    PainterProcess painter(desktop, desktop.home() / "bin" / "painter");
    auto const window = painter.open({.x = 100, .y = 100, .className = "Lonely"});
    auto const inside = painter.open({.parent = window});
    Painter other(desktop.display());
    xcb_set_input_focus(other.x(), XCB_INPUT_FOCUS_PARENT, inside, XCB_CURRENT_TIME);
    other.sync();
    DesktopEntries entries;

    auto const front = X11Workspace(X11Connection::open(), entries).frontmostApplication();

    ASSERT_TRUE(front);
    EXPECT_EQ(front->names.names.front(), "Lonely");
    EXPECT_EQ(front->localizedName, "Lonely");
}

} // namespace
} // namespace zelvo::test
