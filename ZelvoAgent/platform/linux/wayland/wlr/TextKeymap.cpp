#include "platform/linux/wayland/wlr/TextKeymap.h"

#include "base/Text.h"

#include <linux/input-event-codes.h>
#include <xkbcommon/xkbcommon.h>

#include <map>
#include <utility>

namespace zelvo {

namespace {

/// Keys that programs give no meaning beyond their symbol.
std::vector<int> const& plainKeys()
{
    static std::vector<int> const keys = [] {
        std::vector<int> all;
        for (auto const [first, last] : {std::pair(KEY_1, KEY_EQUAL), std::pair(KEY_Q, KEY_RIGHTBRACE),
                                         std::pair(KEY_A, KEY_GRAVE), std::pair(KEY_BACKSLASH, KEY_SLASH),
                                         std::pair(KEY_102ND, KEY_102ND), std::pair(KEY_F13, KEY_F24)})
            for (int key = first; key <= last; ++key)
                all.push_back(key);
        return all;
    }();
    return keys;
}

/// The key that a character always has, or 0.
int fixedKey(char32_t character)
{
    switch (character) {
    case U'\n':
        return KEY_ENTER;
    case U'\t':
        return KEY_TAB;
    case U' ':
        return KEY_SPACE;
    default:
        return 0;
    }
}

xkb_keysym_t symbolOf(char32_t character)
{
    if (character == U'\n')
        return XKB_KEY_Return;
    if (character != U'\t' && (character < 0x20 || (character >= 0x7f && character < 0xa0)))
        return XKB_KEY_NoSymbol;
    return xkb_utf32_to_keysym(character);
}

/// Which bits of a sequence's first byte are its character's.
unsigned bitsOfFirst(unsigned value)
{
    if (value < 0xe0)
        return 0x1f;
    return value < 0xf0 ? 0x0f : 0x07;
}

/// The code points of well-formed UTF-8.
std::vector<char32_t> codePointsOf(std::string_view text)
{
    std::vector<char32_t> all;
    for (char const byte : text) {
        auto const value = static_cast<unsigned char>(byte);
        if (value < 0x80)
            all.push_back(value);
        else if (value < 0xc0)
            all.back() = all.back() << 6 | (value & 0x3f);
        else
            all.push_back(value & bitsOfFirst(value));
    }
    return all;
}

/// Gives keys to characters until there are none left.
class Assignment {
public:
    /// False if every key is taken.
    bool add(char32_t character)
    {
        auto const known = keyOf.find(character);
        if (known != keyOf.end()) {
            keys.push_back(known->second);
            return true;
        }
        int key = fixedKey(character);
        if (!key && used == plainKeys().size())
            return false;
        if (!key)
            key = plainKeys()[used++];
        keyOf.emplace(character, key);
        keys.push_back(key);
        return true;
    }

    TextKeymap finish() const { return {.keymap = text(), .keys = keys}; }
    bool isEmpty() const { return keys.empty(); }

private:
    std::string text() const
    {
        std::string codes;
        std::string symbols;
        for (auto const& [character, key] : keyOf) {
            char name[64];
            xkb_keysym_get_name(symbolOf(character), name, sizeof name);
            std::string const label = "<K" + std::to_string(key) + ">";
            codes += label + " = " + std::to_string(key + 8) + ";\n";
            symbols += "key " + label + " { [ " + name + " ] };\n";
        }
        return "xkb_keymap {\nxkb_keycodes \"zelvo_text\" {\nminimum = 8;\nmaximum = 255;\n" + codes +
               "};\nxkb_types \"zelvo_text\" { include \"complete\" };\n"
               "xkb_compatibility \"zelvo_text\" { include \"complete\" };\n"
               "xkb_symbols \"zelvo_text\" {\n" +
               symbols + "};\n};\n";
    }

    std::map<char32_t, int> keyOf;
    std::vector<int> keys;
    std::size_t used = 0;
};

} // namespace

std::optional<std::vector<TextKeymap>> keymapsFor(std::string_view text)
{
    if (!text::isUtf8(text))
        return std::nullopt;
    std::vector<TextKeymap> keymaps;
    Assignment current;
    for (char32_t const character : codePointsOf(text)) {
        if (symbolOf(character) == XKB_KEY_NoSymbol)
            return std::nullopt;
        if (current.add(character))
            continue;
        keymaps.push_back(std::exchange(current, {}).finish());
        current.add(character);
    }
    if (!current.isEmpty())
        keymaps.push_back(current.finish());
    return keymaps;
}

} // namespace zelvo
