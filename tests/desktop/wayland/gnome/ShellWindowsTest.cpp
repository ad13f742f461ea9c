#include "desktop/wayland/gnome/GnomeFixture.h"

#include <atomic>

namespace zelvo::test {

namespace {

using State = ShellExtensionInstall::State;

class ShellWindowsTest : public GnomeFixture {};

TEST_F(ShellWindowsTest, listsWindowsWithTheirFacts)
{
    startGnome();
    pid_t const client = startClient("dev.seen", "#00ff00");

    ASSERT_TRUE(waitForLook([](WindowsNow const& now) { return now.windows.back().isActive; }));
    CompositorWindow const window = windowOf("dev.seen");

    EXPECT_EQ(window.pid, client);
    EXPECT_EQ(window.title, "dev.seen");
    EXPECT_EQ(window.frame.width, 600);
    EXPECT_EQ(window.frame.height, 400);
    EXPECT_EQ(window.kind, CompositorWindow::Kind::normal);
    EXPECT_TRUE(window.isOnScreen);
    EXPECT_FALSE(window.isX11 || window.isMinimized || window.isFullScreen || window.isAbove);
    EXPECT_TRUE(window.words.className.empty());
}

TEST_F(ShellWindowsTest, activatesAWindow)
{
    startGnome();
    startClient("dev.first", "#00ff00");
    startClient("dev.second", "#0000ff");
    std::string const first = windowOf("dev.first").id;

    EXPECT_TRUE(windows->activate(first));
    EXPECT_TRUE(waitForLook([&](WindowsNow const& now) {
        return now.windows.back().id == first && now.windows.back().isActive;
    }));
    EXPECT_FALSE(windows->activate("4000000000"));
}

TEST_F(ShellWindowsTest, putsNoWindowOfAnotherProcessInFront)
{
    startGnome();
    startClient("dev.first", "#00ff00");

    EXPECT_FALSE(windows->putInFront(windowOf("dev.first").id));
    EXPECT_FALSE(windowOf("dev.first").isAbove);
}

TEST_F(ShellWindowsTest, reportsChanges)
{
    startGnome();
    std::atomic<int> changes = 0;
    windows->observe([&] { ++changes; });
    bus->start();
    presence->start();
    ASSERT_TRUE(waitFor([&] { return presence->isPresent(); }));

    int const before = changes;
    startClient("dev.seen", "#00ff00");
    EXPECT_TRUE(waitFor([&] { return changes > before; }));
}

TEST_F(ShellWindowsTest, knowsThatTheOverviewCoversTheWindows)
{
    startGnome();
    EXPECT_FALSE(windows->look()->isCovered);

    gnome->setOverview(true);

    EXPECT_TRUE(waitForLook([](WindowsNow const& now) { return now.isCovered; }));
}

TEST_F(ShellWindowsTest, answersNoOtherProgram)
{
    startGnome({}, "/usr/bin/env");

    ShellExtensionInstall const install(gnome->dataHome(), *link);
    ASSERT_EQ(ShellExtensionInstall(gnome->dataHome(), *link).state(), State::enabled);
    EXPECT_EQ(install.otherProgram(ownProgram()), "/usr/bin/env");
    EXPECT_EQ(install.otherProgram("/usr/bin/env"), std::nullopt);
    ShellReply const reply = link->call({.member = "Look"});

    EXPECT_EQ(reply.message, nullptr);
    EXPECT_EQ(reply.error, "dev.zelvo.Shell.Error.Failed");
    EXPECT_FALSE(windows->look());
}

TEST_F(ShellWindowsTest, knowsHowFarTheInstallationIs)
{
    startGnome();
    ShellExtensionInstall install(gnome->dataHome(), *link);
    ShellExtensionInstall elsewhere(gnome->home() / "other", *link);
    ASSERT_EQ(elsewhere.state(), State::absent);

    EXPECT_EQ(install.state(), State::enabled);
    gnome->run({"gnome-extensions", "disable", ShellExtensionInstall::uuid});
    EXPECT_TRUE(waitFor([&] { return install.state() == State::disabled; }));
    EXPECT_FALSE(windows->look());
    EXPECT_TRUE(install.enable());
    EXPECT_TRUE(waitFor([&] { return install.state() == State::enabled; }));
    EXPECT_TRUE(waitFor([&] { return windows->look().has_value(); }));
    install.remove();
    EXPECT_EQ(install.state(), State::absent);
}

TEST_F(ShellWindowsTest, isWrittenForSupportedShellsOnly)
{
    startGnome();
    ShellExtensionInstall install(gnome->home() / "other", *link);

    EXPECT_FALSE(install.write(42, ownProgram()));
    EXPECT_FALSE(install.write(99, ownProgram()));
    EXPECT_TRUE(install.write(45, ownProgram()));
}

} // namespace

} // namespace zelvo::test
