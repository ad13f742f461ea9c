#include "desktop/wayland/kwin/KwinFixture.h"
#include "platform/linux/wayland/kwin/KwinScript.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace zelvo::test {

namespace {

using Kind = CompositorWindow::Kind;

class KwinWindowsTest : public KwinFixture {
protected:
    bool isLoaded()
    {
        return kwin->call(PrivateKwin::busName, "/Scripting", "org.kde.kwin.Scripting.isScriptLoaded",
                          {KwinScript::nameInKwin()})
                   .find("true") != std::string::npos;
    }
    void removeScript()
    {
        kwin->call(PrivateKwin::busName, "/Scripting", "org.kde.kwin.Scripting.unloadScript",
                   {KwinScript::nameInKwin()});
    }
    static std::size_t placeOf(WindowsNow const& now, std::string const& title)
    {
        auto const found = std::ranges::find(now.windows, title, &CompositorWindow::title);
        return static_cast<std::size_t>(found - now.windows.begin());
    }
};

TEST_F(KwinWindowsTest, describesWindows)
{
    start();
    pid_t const pid = kwin->startWindow({"One", "red", "300", "200", "dialog"});

    CompositorWindow const window = waitForWindow("One");
    CompositorWindow const dialog = waitForWindow("One dialog");

    EXPECT_EQ(window.pid, pid);
    EXPECT_EQ(window.words.kdeDesktopFile, "zt.One");
    EXPECT_EQ(window.words.className, "");
    EXPECT_EQ(window.kind, Kind::normal);
    EXPECT_EQ(window.frame.width, 300);
    EXPECT_EQ(window.frame.height, 200);
    EXPECT_EQ(window.surface, window.frame);
    EXPECT_TRUE(window.isOnScreen);
    EXPECT_FALSE(window.isX11);
    EXPECT_EQ(window.parent, "");
    EXPECT_EQ(dialog.kind, Kind::dialog);
    EXPECT_EQ(dialog.parent, window.id);
    auto const now = windows->look();
    EXPECT_TRUE(now->pointer.has_value());
    EXPECT_FALSE(now->isCovered);
}

TEST_F(KwinWindowsTest, describesProgramsOnXwayland)
{
    start({.xwayland = true});
    kwin->startWindow({"Old", "red"}, kwin->onXwayland());

    CompositorWindow const window = waitForWindow("Old");

    EXPECT_TRUE(window.isX11);
    EXPECT_FALSE(window.words.className.empty());
    EXPECT_TRUE(window.pid.has_value());
}

TEST_F(KwinWindowsTest, activatesAndRaises)
{
    start();
    kwin->startWindow({"One", "red"});
    CompositorWindow const one = waitForWindow("One");
    kwin->startWindow({"Two", "blue"});
    CompositorWindow const two = waitForWindow("Two");

    EXPECT_TRUE(windows->activate(one.id));

    auto now = *windows->look();
    EXPECT_TRUE(find("One")->isActive);
    EXPECT_GT(placeOf(now, "One"), placeOf(now, "Two"));
    EXPECT_TRUE(windows->activate(two.id));
    now = *windows->look();
    EXPECT_FALSE(find("One")->isActive);
    EXPECT_LT(placeOf(now, "One"), placeOf(now, "Two"));
    EXPECT_FALSE(windows->activate("{no such window}"));
}

TEST_F(KwinWindowsTest, putsAWindowInFront)
{
    start();
    kwin->startWindow({"One", "red"});
    CompositorWindow const one = waitForWindow("One");

    EXPECT_TRUE(windows->putInFront(one.id));
    kwin->startWindow({"Two", "blue"});
    waitForWindow("Two");

    auto const now = *windows->look();
    EXPECT_TRUE(find("One")->isAbove);
    EXPECT_GT(placeOf(now, "One"), placeOf(now, "Two"));
}

TEST_F(KwinWindowsTest, reportsChangesAndIsQuietWithout)
{
    start();
    kwin->startWindow({"One", "red"});
    CompositorWindow const one = waitForWindow("One");
    int before = changes;

    kwin->startWindow({"Two", "blue"});

    EXPECT_TRUE(waitFor([&] { return changes > before; }));
    waitForWindow("Two");
    before = changes;
    windows->activate(one.id);
    EXPECT_TRUE(waitFor([&] { return changes > before; }));
}

TEST_F(KwinWindowsTest, describesPopUps)
{
    start();
    pid_t const pid = kwin->start({"/usr/bin/python3", PrivateKwin::program("popover.py"), "Popped"});

    CompositorWindow const window = waitForWindow("Popped");

    EXPECT_TRUE(waitFor([&] {
        auto const now = windows->look();
        return now && std::ranges::any_of(now->windows, [&](CompositorWindow const& one) {
                   return one.kind == Kind::popup && one.parent == window.id && one.pid == pid;
               });
    }));
}

TEST_F(KwinWindowsTest, otherDesktopsAreOffTheScreen)
{
    start();
    kwin->startWindow({"One", "red"});
    CompositorWindow const one = waitForWindow("One");
    kwin->call(PrivateKwin::busName, "/VirtualDesktopManager",
               "org.kde.KWin.VirtualDesktopManager.createDesktop", {"1", "Two"});
    kwin->call(PrivateKwin::busName, "/KWin", "org.kde.KWin.setCurrentDesktop", {"2"});

    EXPECT_TRUE(waitFor([&] { return !find("One")->isOnScreen; }));
    EXPECT_TRUE(windows->activate(one.id));
    EXPECT_TRUE(waitFor([&] { return find("One")->isOnScreen; }));
}

TEST_F(KwinWindowsTest, looksInMilliseconds)
{
    start();
    kwin->startWindow({"One", "red"});
    waitForWindow("One");
    auto const begin = std::chrono::steady_clock::now();

    for (int round = 0; round < 100; ++round)
        ASSERT_TRUE(windows->look());

    auto const each = (std::chrono::steady_clock::now() - begin) / 100;
    RecordProperty("microseconds",
                   static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(each).count()));
    EXPECT_LT(each, 100ms);
}

TEST_F(KwinWindowsTest, loadsTheScriptAgainWhenItIsGone)
{
    start();

    removeScript();

    EXPECT_TRUE(waitFor([&] { return windows->look().has_value(); }));
    EXPECT_TRUE(isLoaded());
}

TEST_F(KwinWindowsTest, followsAKwinThatStartsAgain)
{
    start();
    int const before = changes;

    kwin->restart();

    EXPECT_TRUE(waitFor([&] { return windows->look().has_value(); }));
    EXPECT_GT(changes, before);
}

TEST_F(KwinWindowsTest, takesOverFromARunThatCrashed)
{
    start();
    // It is not ended: its script is in KWin, and its object on another connection.
    auto const crashed = std::move(windows);
    auto const itsBus =
        std::exchange(session, std::make_unique<BusConnection>(live.contexts().agent, clock, openSessionBus));

    open();

    EXPECT_TRUE(waitFor([&] { return windows->look().has_value(); }));
    windows.reset();
    live.stop();
}

TEST_F(KwinWindowsTest, leavesNothingBehind)
{
    start();
    ASSERT_TRUE(isLoaded());

    windows.reset();

    EXPECT_TRUE(waitFor([&] { return !isLoaded(); }));
    for (auto const& entry : std::filesystem::directory_iterator(kwin->runtimeFolder()))
        EXPECT_NE(entry.path().extension(), ".js");
}

TEST_F(KwinWindowsTest, hearsNobodyButTheScript)
{
    start();
    std::string const bus =
        kwin->call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.ListNames");
    int answered = 0;
    int refused = 0;
    for (int number = 0; number < 40; ++number) {
        std::string const name = ":1." + std::to_string(number);
        if (bus.find("'" + name + "'") == std::string::npos)
            continue;
        pid_t const caller =
            kwin->start({"gdbus", "call", "--session", "--timeout", "2", "--dest", name, "--object-path",
                         "/dev/zelvo/KwinScript", "--method", "dev.zelvo.KwinScript.Next", "token", "{}"});
        kwin->processes().waitForEnd(caller, 5);
        std::string const output = kwin->processes().output(caller);
        refused += output.find("AccessDenied") != std::string::npos ? 1 : 0;
        answered += output.find("verb") != std::string::npos ? 1 : 0;
    }

    EXPECT_EQ(refused, 1);
    EXPECT_EQ(answered, 0);
    EXPECT_TRUE(windows->look());
}

} // namespace

} // namespace zelvo::test
