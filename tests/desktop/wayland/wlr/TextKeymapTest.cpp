#include "platform/linux/wayland/wlr/TextKeymap.h"

#include <gtest/gtest.h>

#include <linux/input-event-codes.h>
#include <xkbcommon/xkbcommon.h>

#include <memory>

namespace zelvo::test {
namespace {

/// What the keys of the keymaps type, by libxkbcommon.
std::string typedBy(std::vector<TextKeymap> const& keymaps)
{
    std::string text;
    std::unique_ptr<xkb_context, decltype(&xkb_context_unref)> const context(
        xkb_context_new(XKB_CONTEXT_NO_FLAGS), xkb_context_unref);
    for (TextKeymap const& made : keymaps) {
        std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)> const keymap(
            xkb_keymap_new_from_string(context.get(), made.keymap.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1,
                                       XKB_KEYMAP_COMPILE_NO_FLAGS),
            xkb_keymap_unref);
        if (!keymap)
            return "no keymap";
        std::unique_ptr<xkb_state, decltype(&xkb_state_unref)> const state(xkb_state_new(keymap.get()),
                                                                           xkb_state_unref);
        for (int const key : made.keys) {
            char bytes[16];
            xkb_state_key_get_utf8(state.get(), static_cast<xkb_keycode_t>(key + 8), bytes, sizeof bytes);
            text += bytes;
        }
    }
    return text;
}

TEST(TextKeymap, typesTheText)
{
    for (std::string const text :
         {"Hello, World! {[(<~`|\\>)]}", "Съешь ещё ЭТИХ", "漢字かな 한국어", "Zażółć ñ ß İı €",
          "😀👩‍👩‍👧‍👦❤️🇩🇪", "שלום عالم हिन्दी", "e\u0301 \u00a0\u200b"}) {
        auto const keymaps = keymapsFor(text);
        ASSERT_TRUE(keymaps) << text;
        EXPECT_EQ(typedBy(*keymaps), text);
    }
}

TEST(TextKeymap, usesSeveralKeymapsForManyCharacters)
{
    std::string text;
    for (int round = 0; round < 2; ++round)
        for (int i = 0; i < 64; ++i)
            text += {'\xe4', '\xb8', static_cast<char>(0x80 + i), '.'};

    auto const keymaps = keymapsFor(text);

    ASSERT_TRUE(keymaps);
    EXPECT_GE(keymaps->size(), 2u);
    EXPECT_EQ(typedBy(*keymaps), text);
}

TEST(TextKeymap, hasTheUsualKeysForLineEndsAndTabs)
{
    auto const keymaps = keymapsFor("a\n\t ");

    ASSERT_TRUE(keymaps && keymaps->size() == 1);
    EXPECT_EQ(keymaps->front().keys, (std::vector<int>{KEY_1, KEY_ENTER, KEY_TAB, KEY_SPACE}));
    EXPECT_NE(keymaps->front().keymap.find(textKeymapName), std::string::npos);
}

TEST(TextKeymap, refusesWhatNoKeyMakes)
{
    EXPECT_FALSE(keymapsFor("\x1b[2J"));
    EXPECT_FALSE(keymapsFor("a\x7f"));
    EXPECT_FALSE(keymapsFor(std::string_view("a\0b", 3)));
    EXPECT_FALSE(keymapsFor("\xff"));
    EXPECT_FALSE(keymapsFor("\xc3"));
    EXPECT_TRUE(keymapsFor("") && keymapsFor("")->empty());
}

} // namespace
} // namespace zelvo::test
