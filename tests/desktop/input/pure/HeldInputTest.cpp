#include "platform/linux/input/HeldInput.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

constexpr std::uint8_t control = 37;
constexpr std::uint8_t shift = 50;
constexpr InputSwitch keyA{InputSwitch::Kind::key, 38};
constexpr InputSwitch keyB{InputSwitch::Kind::key, 56};
constexpr InputSwitch leftButton{InputSwitch::Kind::button, 1};

using Steps = std::vector<InputStep>;

InputSwitch key(std::uint8_t keycode)
{
    return {InputSwitch::Kind::key, keycode};
}

TEST(HeldInput, pressesModifiersBeforeAndReleasesThemAfterInReverse)
{
    HeldInput held;

    EXPECT_EQ(held.down(keyA, {control, shift}),
              (Steps{{key(control), true}, {key(shift), true}, {keyA, true}}));
    EXPECT_EQ(held.up(keyA), (Steps{{keyA, false}, {key(shift), false}, {key(control), false}}));
    EXPECT_TRUE(held.held().empty());
}

TEST(HeldInput, doesNotPressAModifierTwice)
{
    HeldInput held;
    held.down(leftButton, {control});

    EXPECT_EQ(held.down(keyA, {control}), (Steps{{keyA, true}}));
    EXPECT_EQ(held.up(keyA), (Steps{{keyA, false}})); // The button still needs Control.
    EXPECT_EQ(held.up(leftButton), (Steps{{leftButton, false}, {key(control), false}}));
}

TEST(HeldInput, keepsAModifierForWhoeverStillNeedsIt)
{
    HeldInput held;
    held.down(keyA, {control});
    held.down(keyB, {control});

    EXPECT_EQ(held.up(keyA), (Steps{{keyA, false}}));
    EXPECT_EQ(held.up(keyB), (Steps{{keyB, false}, {key(control), false}}));
}

TEST(HeldInput, releasesWhatIsNotHeldToo)
{
    HeldInput held;

    EXPECT_EQ(held.up(leftButton), (Steps{{leftButton, false}}));
}

TEST(HeldInput, releasesEverything)
{
    HeldInput held;
    held.down(leftButton, {control});
    held.down(keyA, {shift});

    EXPECT_EQ(held.releaseAll(),
              (Steps{{keyA, false}, {leftButton, false}, {key(shift), false}, {key(control), false}}));
    EXPECT_TRUE(held.releaseAll().empty());
    EXPECT_EQ(held.up(keyA), (Steps{{keyA, false}}));
}

TEST(HeldInput, remembersOnePressOnce)
{
    HeldInput held;
    held.down(keyA, {});
    held.down(keyA, {});

    EXPECT_EQ(held.releaseAll(), (Steps{{keyA, false}}));
}

} // namespace
} // namespace zelvo
