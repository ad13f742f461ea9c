#include "platform/linux/input/KeyReadings.h"

#include "desktop/input/pure/NamedKeymap.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using Chord = std::vector<std::string>;

constexpr std::uint8_t keyOfS = 39;
constexpr std::uint8_t keyOfSemicolon = 47;
constexpr std::uint8_t keyOfOne = 10;
constexpr std::uint8_t keyOfReturn = 36;
constexpr std::uint32_t capsLock = 0x02;

std::vector<Chord> readings(char const* layout,
                            std::uint8_t keycode,
                            ModifierFlags flags,
                            KeyboardState const& state = {},
                            char const* variant = "")
{
    KeymapPtr const keymap = test::keymapOf(layout, variant);
    return readingsOf(keymap.get(), state, ModifierKeys::of(keymap.get()), keycode, flags);
}

TEST(KeyReadings, areTheNamesOfTheKeysOnAnAmericanKeyboard)
{
    EXPECT_THAT(readings("us", keyOfS, {.ctrl = true}), ElementsAre(Chord{"cmd", "s"}));
    EXPECT_THAT(readings("us", keyOfS, {.shift = true, .ctrl = true}),
                ElementsAre(Chord{"cmd", "shift", "s"}));
    EXPECT_THAT(readings("us", keyOfReturn, {}), ElementsAre(Chord{"return"}));
}

TEST(KeyReadings, followTheLayout)
{
    EXPECT_THAT(readings("us", keyOfSemicolon, {.ctrl = true}, {}, "dvorak"), ElementsAre(Chord{"cmd", "s"}));
    EXPECT_THAT(readings("us", keyOfS, {.cmd = true}, {}, "dvorak"), ElementsAre(Chord{"cmd", "o"}));
}

TEST(KeyReadings, beginWithTheActiveGroupAndNameTheOthersToo)
{
    EXPECT_THAT(readings("us,us", keyOfSemicolon, {.ctrl = true}, {}, ",dvorak"),
                ElementsAre(Chord{"cmd", "semicolon"}, Chord{"cmd", "s"}));
    EXPECT_THAT(readings("us,us", keyOfSemicolon, {.ctrl = true}, {.lockedGroup = 1}, ",dvorak"),
                ElementsAre(Chord{"cmd", "s"}, Chord{"cmd", "semicolon"}));
    EXPECT_THAT(readings("ru", keyOfS, {.ctrl = true}), IsEmpty());
}

TEST(KeyReadings, nameASymbolOfTheShiftLevelWithAndWithoutShift)
{
    auto const found = readings("fr", keyOfOne, {.shift = true, .ctrl = true});

    EXPECT_THAT(found, Contains(Chord{"cmd", "1"}));
    EXPECT_THAT(found, Contains(Chord{"cmd", "shift", "1"}));
    EXPECT_THAT(readings("us", keyOfS, {.shift = true, .ctrl = true}), Not(Contains(Chord{"cmd", "s"})));
}

TEST(KeyReadings, doNotDependOnCapsLock)
{
    EXPECT_THAT(readings("us", keyOfSemicolon, {.ctrl = true}, {.lockedModifiers = capsLock}, "dvorak"),
                ElementsAre(Chord{"cmd", "s"}));
}

TEST(KeyReadings, seeReturnOnAnotherKey)
{
    // Neo has Return, and much more, on its fourth level.
    KeyboardState state;
    KeymapPtr const keymap = test::keymapOf("de", "neo");
    constexpr std::uint32_t level4 = 0x20; // Mod3 in this layout, or Mod5.
    constexpr std::uint32_t level4Other = 0x08;
    std::vector<Chord> all;
    for (std::uint32_t const mask : {level4, level4Other, std::uint32_t{0x80}}) {
        state.lockedModifiers = mask;
        for (int keycode = 9; keycode < 80; ++keycode)
            for (Chord const& chord : readingsOf(keymap.get(), state, ModifierKeys::of(keymap.get()),
                                                 static_cast<std::uint8_t>(keycode), {}))
                if (keycode != keyOfReturn)
                    all.push_back(chord);
    }
    EXPECT_THAT(all, Contains(Chord{"return"}));
}

} // namespace
} // namespace zelvo
