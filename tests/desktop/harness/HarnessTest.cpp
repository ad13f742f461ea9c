#include "desktop/harness/PainterProcess.h"
#include "desktop/harness/PrivateDesktop.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>

#include <fstream>
#include <optional>

namespace zelvo::test {
namespace {

TEST(PrivateDesktop, comesUpAndLeavesNothing)
{
    std::optional<PrivateDesktop> desktop(std::in_place, DesktopOptions{.width = 1366, .height = 768});
    std::filesystem::path const home = desktop->home();
    pid_t const left = desktop->start({"sh", "-c", "setsid sh -c 'sleep 1000 & sleep 1000' & echo $!; wait"});
    require("the shell", [&] { return !desktop->processes().output(left).empty(); });
    pid_t const orphan = std::stoi(desktop->processes().output(left));
    desktop->processes().end(left, SIGKILL);
    EXPECT_NE(desktop->run({"xdpyinfo"}).find("1366x768"), std::string::npos);

    desktop.reset();

    EXPECT_NE(::kill(orphan, 0), 0);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1); // No child is left, not even an adopted one.
    EXPECT_FALSE(std::filesystem::exists(home));
}

TEST(PrivateDesktop, bringsUpTheAccessibilityBus)
{
    PrivateDesktop desktop({.accessibility = true});

    EXPECT_TRUE(desktop.isAccessibilityEnabled());
}

TEST(PrivateDesktop, findsAWindowByItsTitleAndByItsClass)
{
    PrivateDesktop desktop({.sessionBus = false});
    desktop.start({"xterm", "-T", "The title", "-class", "Named"});

    std::uint32_t const window = desktop.waitForWindow({.title = "he titl"});

    EXPECT_EQ(desktop.findWindow({.className = "Named"}), window);
    EXPECT_EQ(desktop.findWindow({.className = "Name"}), std::nullopt);
    EXPECT_TRUE(waitFor([&] { return desktop.activeWindow() == window; }));
}

TEST(PrivateDesktop, tellsWhyAProgramFailed)
{
    PrivateDesktop desktop({.windowManager = false, .sessionBus = false});

    EXPECT_THROW(desktop.run({"no-such-program-here"}), std::runtime_error);
    EXPECT_THROW(desktop.run({"false"}), std::runtime_error);
    EXPECT_EQ(desktop.run({"sh", "-c", "echo $DISPLAY"}), desktop.display() + "\n");
}

TEST(Painter, putsAWindowWhereItWasAskedFor)
{
    PrivateDesktop desktop({.sessionBus = false});
    PainterProcess painter(desktop, desktop.home() / "bin" / "named");

    painter.open({.x = 300, .y = 200, .width = 50, .height = 40, .title = "managed", .className = "Managed"});

    std::string const geometry = desktop.run({"xwininfo", "-name", "managed"});
    EXPECT_NE(geometry.find("Absolute upper-left X:  300\n"), std::string::npos) << geometry;
    EXPECT_NE(geometry.find("Absolute upper-left Y:  200\n"), std::string::npos) << geometry;
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(painter.pid()) + "/exe").filename(),
              "named");
}

} // namespace
} // namespace zelvo::test
