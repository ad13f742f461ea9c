#include "platform/linux/x11/input/HotKeyChord.h"

#include "desktop/input/pure/NamedKeymap.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

constexpr std::uint32_t held = 0x04 | 0x08 | 0x40; // Control, Alt, Super.

TEST(HotKeyChord, coversEveryStateOfTheLockKeys)
{
    KeymapPtr const keymap = test::keymapOf("us");

    EXPECT_THAT(HotKeyChord::on(keymap.get()).modifierMasks,
                testing::UnorderedElementsAre(held, held | 0x02, held | 0x10, held | 0x12));
}

TEST(HotKeyChord, goesByTheLatinKeyInAGroupWithoutOne)
{
    KeymapPtr const keymap = test::keymapOf("us,ru");
    HotKeyChord const chord = HotKeyChord::on(keymap.get());

    EXPECT_EQ(chord.groupsByKey.size(), 1U);
    EXPECT_TRUE(chord.isPressedBy(33, 0));
    EXPECT_TRUE(chord.isPressedBy(33, 1));
    EXPECT_FALSE(chord.isPressedBy(27, 0));
}

TEST(HotKeyChord, goesByPositionWhereNoKeyTypesIt)
{
    KeymapPtr const keymap = test::keymapOf("ru");

    EXPECT_TRUE(HotKeyChord::on(keymap.get()).isPressedBy(33, 0));
}

TEST(HotKeyChord, movesWithTheLetterFromGroupToGroup)
{
    KeymapPtr const keymap = test::keymapOf("us,us", ",dvorak");
    HotKeyChord const chord = HotKeyChord::on(keymap.get());

    EXPECT_TRUE(chord.isPressedBy(33, 0));
    EXPECT_FALSE(chord.isPressedBy(33, 1));
    EXPECT_TRUE(chord.isPressedBy(27, 1)); // R on an ANSI keyboard.
    EXPECT_FALSE(chord.isPressedBy(27, 0));
}

} // namespace
} // namespace zelvo
