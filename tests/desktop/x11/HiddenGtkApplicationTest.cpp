#include "desktop/x11/HiddenWindowsFixture.h"

#include <csignal>

namespace zelvo::test {
namespace {

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
