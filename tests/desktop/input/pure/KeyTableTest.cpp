#include "platform/linux/input/KeyTable.h"

#include "desktop/input/pure/NamedKeymap.h"
#include "platform/linux/input/KeyPositions.h"

#include <gtest/gtest.h>

#include <set>

namespace zelvo {
namespace {

constexpr std::uint32_t shiftMask = 0x01;
constexpr std::uint32_t capsLock = 0x02;
constexpr std::uint32_t numLock = 0x10;
constexpr std::uint8_t shift = 50;

class KeyTables : public testing::Test {
protected:
    KeyTable table(char const* layout, KeyboardState const& state, char const* variant = "")
    {
        keymap = test::keymapOf(layout, variant);
        return {keymap.get(), state, ModifierKeys::of(keymap.get())};
    }

    static std::optional<KeyStroke> find(KeyTable const& table, char32_t character)
    {
        KeyStroke const* const stroke = table.find(character);
        return stroke ? std::optional(*stroke) : std::nullopt;
    }

    KeymapPtr keymap;
};

TEST_F(KeyTables, typesLettersByTheirKeys)
{
    KeyTable const us = table("us", {});

    EXPECT_EQ(find(us, U'a'), (KeyStroke{38, {}}));
    EXPECT_EQ(find(us, U'A'), (KeyStroke{38, {shift}}));
    EXPECT_EQ(find(us, U'\n'), (KeyStroke{36, {}}));
    EXPECT_EQ(find(us, U'\t'), (KeyStroke{23, {}}));
    EXPECT_EQ(find(us, U'я'), std::nullopt);
}

TEST_F(KeyTables, turnsShiftRoundUnderCapsLock)
{
    KeyTable const us = table("us", {.lockedModifiers = capsLock});

    EXPECT_EQ(find(us, U'a'), (KeyStroke{38, {shift}}));
    EXPECT_EQ(find(us, U'A'), (KeyStroke{38, {}}));
    EXPECT_EQ(find(us, U'1'), (KeyStroke{10, {}}));
}

TEST_F(KeyTables, takesDigitsFromTheirRowUnderNumLock)
{
    EXPECT_EQ(find(table("us", {.lockedModifiers = numLock}), U'7'), (KeyStroke{16, {}}));
}

TEST_F(KeyTables, followsTheActiveGroup)
{
    KeyTable const russian = table("us,ru", {.lockedGroup = 1});

    EXPECT_EQ(find(russian, U'я'), (KeyStroke{52, {}}));
    EXPECT_EQ(find(russian, U'a'), std::nullopt);
}

TEST_F(KeyTables, reachesTheThirdLevel)
{
    EXPECT_EQ(find(table("de", {}), U'@'), (KeyStroke{24, {108}}));
    EXPECT_EQ(find(table("us", {}), U'@'), (KeyStroke{11, {shift}}));
}

TEST_F(KeyTables, doesNotPressAShiftThatIsHeld)
{
    KeyTable const held = table("us", {.baseModifiers = shiftMask});

    EXPECT_EQ(find(held, U'A'), (KeyStroke{38, {}}));
    EXPECT_EQ(find(held, U'a'), std::nullopt);
}

TEST_F(KeyTables, hasEveryPositionOnceAndOnAnsiKeys)
{
    std::set<std::uint8_t> keycodes;
    for (std::uint16_t code = 0; code < 128; ++code)
        if (auto const keycode = keycodeAtPosition(code))
            EXPECT_TRUE(keycodes.insert(*keycode).second) << code;

    EXPECT_EQ(keycodes.size(),
              73U); // 26 letters, 10 digits, 11 signs, 14 for editing and moving, 12 of the F row.
    EXPECT_EQ(keycodeAtPosition(35), keycodeOfP);
    EXPECT_EQ(keycodeAtPosition(10), std::nullopt);
}

TEST_F(KeyTables, haveTheCharactersOfTheirPositions)
{
    KeyTable const us = table("us", {});
    std::vector<std::pair<std::uint16_t, char32_t>> const labels{
        {0, U'a'},   {1, U's'},  {2, U'd'},   {3, U'f'},  {4, U'h'},  {5, U'g'},  {6, U'z'},  {7, U'x'},
        {8, U'c'},   {9, U'v'},  {11, U'b'},  {12, U'q'}, {13, U'w'}, {14, U'e'}, {15, U'r'}, {16, U'y'},
        {17, U't'},  {31, U'o'}, {32, U'u'},  {34, U'i'}, {35, U'p'}, {37, U'l'}, {38, U'j'}, {40, U'k'},
        {45, U'n'},  {46, U'm'}, {18, U'1'},  {19, U'2'}, {20, U'3'}, {21, U'4'}, {23, U'5'}, {22, U'6'},
        {26, U'7'},  {28, U'8'}, {25, U'9'},  {29, U'0'}, {24, U'='}, {27, U'-'}, {30, U']'}, {33, U'['},
        {39, U'\''}, {41, U';'}, {42, U'\\'}, {43, U','}, {44, U'/'}, {47, U'.'}, {50, U'`'}, {36, U'\n'},
        {48, U'\t'}, {49, U' '}};

    for (auto const& [code, label] : labels)
        EXPECT_EQ(find(us, label), (KeyStroke{keycodeAtPosition(code).value(), {}})) << code;
}

/// Typed text must begin no compose sequence, whose end could be any text, and press Return only for a line
/// end.
TEST_F(KeyTables, typeNothingByDeadKeysOrTheComposeKeyOrReturn)
{
    for (char const* const variant : {"intl", "dvorak-intl", "altgr-intl"}) {
        KeyTable const us = table("us", {}, variant);
        for (char32_t character = 0x20; character < 0x2100; ++character) {
            auto const stroke = find(us, character);
            if (!stroke)
                continue;
            EXPECT_NE(stroke->keycode, 36) << std::uint32_t(character);
            xkb_keysym_t const* symbols = nullptr;
            int const level =
                static_cast<int>(stroke->modifiers.size() == 1 && stroke->modifiers[0] == shift);
            int const count = xkb_keymap_key_get_syms_by_level(
                keymap.get(), stroke->keycode, 0, static_cast<xkb_level_index_t>(level), &symbols);
            if (stroke->modifiers.empty() || level == 1) {
                ASSERT_EQ(count, 1) << std::uint32_t(character);
                EXPECT_EQ(xkb_keysym_to_utf32(symbols[0]), std::uint32_t(character));
            }
        }
    }
}

} // namespace
} // namespace zelvo
