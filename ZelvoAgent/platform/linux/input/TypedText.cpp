#include "platform/linux/input/TypedText.h"

#include <unicode/utf8.h>

namespace zelvo {

namespace {

bool isControl(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

/// The code point at `at`, which moves behind it; negative where the bytes are not UTF-8.
UChar32 nextCodePoint(std::string_view text, std::int32_t& at)
{
    auto const* const data = reinterpret_cast<std::uint8_t const*>(text.data());
    auto const length = static_cast<std::int32_t>(text.size());
    UChar32 next = 0;
    U8_NEXT(data, at, length, next); // NOLINT(bugprone-inc-dec-in-conditions): ICU's macro.
    return next;
}

} // namespace

std::u32string typedCharacters(std::string_view text)
{
    std::u32string characters;
    auto const length = static_cast<std::int32_t>(text.size());
    bool afterReturn = false;
    for (std::int32_t at = 0; at < length;) {
        UChar32 const next = nextCodePoint(text, at);
        if (next < 0)
            continue;
        auto const character = static_cast<char32_t>(next);
        if (character == U'\r' || (character == U'\n' && !afterReturn))
            characters.push_back(U'\n');
        else if (character == U'\t' || !isControl(character))
            characters.push_back(character);
        afterReturn = character == U'\r';
    }
    return characters;
}

} // namespace zelvo
