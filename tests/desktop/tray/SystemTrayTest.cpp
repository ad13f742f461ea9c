#include "desktop/dbus/PrivateBuses.h"
#include "desktop/harness/PrivateDesktop.h"
#include "desktop/harness/XQuestions.h"
#include "platform/linux/tray/LinuxSystemTray.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>

namespace zelvo::test {
namespace {

constexpr Rgb white{.red = 0xff, .green = 0xff, .blue = 0xff};
constexpr Rgb slate{.red = 0x30, .green = 0x41, .blue = 0x52};

/// A program that embeds tray icons: it owns the selection until it ends.
class TrayProgram {
public:
    explicit TrayProgram(std::string const& display) : connection(connectTo(display))
    {
        window = xcb_generate_id(x());
        xcb_create_window(x(), XCB_COPY_FROM_PARENT, window, screenOf(x())->root, 0, 0, 10, 10, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    }

    void show(Rgb color)
    {
        auto const wide = [](std::uint8_t channel) { return channel * 0x101U; };
        std::array<std::uint32_t, 12> const colors{wide(color.red), wide(color.green), wide(color.blue)};
        xcb_change_property(x(), XCB_PROP_MODE_REPLACE, window, atomOf(x(), "_NET_SYSTEM_TRAY_COLORS"),
                            XCB_ATOM_CARDINAL, 32, colors.size(), colors.data());
        syncWith(x());
    }
    void own() { setOwner(window); }
    /// Its window remains.
    void disown() { setOwner(XCB_WINDOW_NONE); }
    void destroyWindow()
    {
        xcb_destroy_window(x(), window);
        syncWith(x());
    }

private:
    xcb_connection_t* x() { return connection.get(); }
    void setOwner(xcb_window_t owner)
    {
        xcb_set_selection_owner(x(), owner, atomOf(x(), "_NET_SYSTEM_TRAY_S0"), XCB_CURRENT_TIME);
        syncWith(x());
    }

    XConnection connection;
    xcb_window_t window = 0;
};

/// A session bus and a display, both without a tray.
class SystemTrayTest : public testing::Test {
protected:
    ~SystemTrayTest() override { tray.reset(); }

    void start()
    {
        buses.start(BusKind::session);
        tray = std::make_unique<LinuxSystemTray>(running.contexts(), running.session,
                                                 X11Connection::open(desktop.display()));
        tray->observe([this] { ++changes; });
        running.session.start();
    }
    bool becomes(TrayState wanted)
    {
        return running.eventually([&] { return tray->current() == wanted; });
    }
    bool staysAbsent()
    {
        return running.staysSo([&] { return tray->current() == TrayState{} && changes == 0; });
    }

    /// A watcher without a host.
    pid_t startWatcher()
    {
        pid_t const pid = buses.run({"/usr/bin/python3", ZELVO_TRAY_WATCHER});
        require("the watcher", [&] { return buses.hasOwner(BusKind::session, watcher); });
        return pid;
    }
    static void registerHost(pid_t pid) { ::kill(pid, SIGUSR1); }
    static void unregisterHost(pid_t pid) { ::kill(pid, SIGUSR2); }
    pid_t startPanel()
    {
        pid_t const pid = startWatcher();
        registerHost(pid);
        return pid;
    }

    static constexpr char const* watcher = "org.kde.StatusNotifierWatcher";
    PrivateBuses buses;
    PrivateDesktop desktop{{.width = 640, .height = 480, .windowManager = false, .sessionBus = false}};
    RunningContexts running;
    std::unique_ptr<LinuxSystemTray> tray;
    int changes = 0;
};

constexpr TrayState present{.isPresent = true};
constexpr TrayState absent{};

TEST_F(SystemTrayTest, isAbsentOnADesktopWithoutATray)
{
    start();

    EXPECT_TRUE(staysAbsent());
}

TEST_F(SystemTrayTest, isAbsentWithAWatcherThatHasNoHost)
{
    start();
    startWatcher();

    EXPECT_TRUE(staysAbsent());
}

TEST_F(SystemTrayTest, isThereWhenAHostRegistersAndGoneWhenItLeaves)
{
    start();
    pid_t const pid = startWatcher();
    ASSERT_TRUE(staysAbsent());

    registerHost(pid);
    EXPECT_TRUE(becomes(present));
    unregisterHost(pid);
    EXPECT_TRUE(becomes(absent));
    EXPECT_EQ(changes, 2);
}

TEST_F(SystemTrayTest, followsAWatcherThatReportsItsPropertyInstead)
{
    start();
    char const* const path = "/StatusNotifierWatcher";
    buses.mock(BusKind::session, watcher, path, watcher);
    buses.control(BusKind::session, watcher, path, "AddProperty",
                  {"ssv", watcher, "IsStatusNotifierHostRegistered", "b", "false"});
    ASSERT_TRUE(staysAbsent());

    buses.call(BusKind::session, watcher, path, "org.freedesktop.DBus.Properties", "Set",
               {"ssv", watcher, "IsStatusNotifierHostRegistered", "b", "true"});

    EXPECT_TRUE(becomes(present));
}

TEST_F(SystemTrayTest, comesGoesAndComesAgainWithThePanel)
{
    start();

    pid_t const panel = startPanel();
    EXPECT_TRUE(becomes(present));
    buses.end(panel);
    EXPECT_TRUE(becomes(absent));
    startPanel();
    EXPECT_TRUE(becomes(present));
    EXPECT_EQ(changes, 3);
}

TEST_F(SystemTrayTest, followsTheBusItself)
{
    start();
    startPanel();
    ASSERT_TRUE(becomes(present));

    buses.stop(BusKind::session);
    EXPECT_TRUE(becomes(absent));
    buses.start(BusKind::session);
    startPanel();
    EXPECT_TRUE(becomes(present));
}

TEST_F(SystemTrayTest, isTheOneThatWasThereBefore)
{
    TrayProgram panel(desktop.display());
    panel.show(white);
    panel.own();

    start();

    EXPECT_EQ(tray->current(), (TrayState{.isPresent = true, .foreground = white}));
}

TEST_F(SystemTrayTest, isTheTrayWindowOfTheDisplayWithItsColor)
{
    start();
    TrayProgram panel(desktop.display());

    panel.own();
    EXPECT_TRUE(becomes(present)); // It has said no colour yet.
    panel.show(white);
    EXPECT_TRUE(becomes({.isPresent = true, .foreground = white}));
    panel.show(slate);
    EXPECT_TRUE(becomes({.isPresent = true, .foreground = slate}));
    EXPECT_EQ(changes, 3);
}

TEST_F(SystemTrayTest, followsTheTrayWindowThatComesGoesAndComesAgain)
{
    start();
    {
        TrayProgram first(desktop.display());
        first.own();
        EXPECT_TRUE(becomes(present));
        first.disown();
        EXPECT_TRUE(becomes(absent));
        first.own();
        EXPECT_TRUE(becomes(present));
        first.destroyWindow();
        EXPECT_TRUE(becomes(absent));
    }
    {
        TrayProgram killed(desktop.display());
        killed.own();
        EXPECT_TRUE(becomes(present));
    }
    EXPECT_TRUE(becomes(absent));
}

TEST_F(SystemTrayTest, takesTheColorOfTheWindowThatReplacesAnother)
{
    start();
    TrayProgram old(desktop.display());
    old.show(white);
    old.own();
    ASSERT_TRUE(becomes({.isPresent = true, .foreground = white}));

    TrayProgram next(desktop.display());
    next.show(slate);
    next.own();

    EXPECT_TRUE(becomes({.isPresent = true, .foreground = slate}));
    old.show(white); // Nobody asks it any more.
    EXPECT_TRUE(running.staysSo([&] { return tray->current().foreground == slate; }));
}

TEST_F(SystemTrayTest, staysWhileOneOfBothIsLeft)
{
    start();
    pid_t const panel = startPanel();
    ASSERT_TRUE(becomes(present));
    TrayProgram window(desktop.display());
    window.show(white);
    window.own();
    EXPECT_TRUE(becomes({.isPresent = true, .foreground = white}));

    buses.end(panel);

    EXPECT_TRUE(running.staysSo([&] { return tray->current().isPresent; }));
    window.disown();
    EXPECT_TRUE(becomes(absent));
}

TEST_F(SystemTrayTest, isOnlyThatOfTheBusWithoutADisplay)
{
    buses.start(BusKind::session);
    LinuxSystemTray withoutDisplay(running.contexts(), running.session, nullptr);
    running.session.start();
    startPanel();

    EXPECT_TRUE(running.eventually([&] { return withoutDisplay.current() == present; }));
}

} // namespace
} // namespace zelvo::test
