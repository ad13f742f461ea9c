#include "desktop/input/InputDesk.h"

#include <gtest/gtest.h>

#include <csignal>

namespace zelvo::test {
namespace {

constexpr std::uint16_t firstButtonMask = 0x100;
constexpr std::uint16_t controlMask = 0x04;

TEST(Leftovers, ofAKilledProcessAreUndoneAtTheNextStart)
{
    InputDesk desk;
    desk.useLayout("us,ru", 0);
    std::string const keymap = desk.keymap();
    pid_t const typist = desk.desktop.start({ZELVO_TYPIST});
    require("the typing",
            [&] { return desk.desktop.processes().output(typist).find("typing") != std::string::npos; });

    desk.desktop.processes().end(typist, SIGKILL);

    EXPECT_NE(desk.keymap(), keymap);
    EXPECT_EQ(desk.heldMask(), firstButtonMask | controlMask);
    desk.restartPosting();
    EXPECT_EQ(desk.keymap(), keymap);
    EXPECT_EQ(desk.heldMask(), 0);
    desk.restartPosting();
    EXPECT_EQ(desk.keymap(), keymap);
}

TEST(Leftovers, leaveALayoutAloneThatWasSetMeanwhile)
{
    InputDesk desk;
    pid_t const typist = desk.desktop.start({ZELVO_TYPIST});
    require("the typing",
            [&] { return desk.desktop.processes().output(typist).find("typing") != std::string::npos; });
    desk.desktop.processes().end(typist, SIGKILL);
    desk.desktop.run({"setxkbmap", "de"});
    std::string const keymap = desk.keymap();

    desk.restartPosting();

    EXPECT_EQ(desk.keymap(), keymap);
}

} // namespace
} // namespace zelvo::test
