#include "desktop/input/InputFixture.h"

#include <gtest/gtest.h>

#include <csignal>

namespace zelvo::test {
namespace {

constexpr std::uint16_t firstButtonMask = 0x100;
constexpr std::uint16_t controlMask = 0x04;

TEST(Leftovers, ofAKilledProcessAreUndoneAtTheNextStart)
{
    InputFixture fixture;
    fixture.useLayout("us,ru", 0);
    std::string const keymap = fixture.keymap();
    pid_t const typist = fixture.desktop.start({ZELVO_TYPIST});
    require("the typing",
            [&] { return fixture.desktop.processes().output(typist).find("typing") != std::string::npos; });

    fixture.desktop.processes().end(typist, SIGKILL);

    EXPECT_NE(fixture.keymap(), keymap);
    EXPECT_EQ(fixture.heldMask(), firstButtonMask | controlMask);
    fixture.restartPosting();
    EXPECT_EQ(fixture.keymap(), keymap);
    EXPECT_EQ(fixture.heldMask(), 0);
    fixture.restartPosting();
    EXPECT_EQ(fixture.keymap(), keymap);
}

TEST(Leftovers, leaveALayoutAloneThatWasSetMeanwhile)
{
    InputFixture fixture;
    pid_t const typist = fixture.desktop.start({ZELVO_TYPIST});
    require("the typing",
            [&] { return fixture.desktop.processes().output(typist).find("typing") != std::string::npos; });
    fixture.desktop.processes().end(typist, SIGKILL);
    fixture.desktop.run({"setxkbmap", "de"});
    std::string const keymap = fixture.keymap();

    fixture.restartPosting();

    EXPECT_EQ(fixture.keymap(), keymap);
}

} // namespace
} // namespace zelvo::test
