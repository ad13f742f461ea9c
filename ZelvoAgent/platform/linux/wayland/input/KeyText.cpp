#include "platform/linux/wayland/input/KeyText.h"

#include "base/Hop.h"
#include "platform/linux/input/TypedText.h"

#include <algorithm>

namespace zelvo {

Task<bool> KeyText::begin(std::string text)
{
    co_return switches.door() && co_await on(contexts.workers, [&] { return hasAll(text); });
}

bool KeyText::hasAll(std::string const& text)
{
    return keyboard.refresh() && keyboard.isCertain() &&
           std::ranges::all_of(typedCharacters(text), [this](char32_t character) {
               return keyboard.strokeFor(character) != nullptr;
           });
}

Task<bool> KeyText::type(std::string piece)
{
    // The person may have switched to another layout since the last piece.
    if (!co_await on(contexts.workers, [&] { return hasAll(piece); }))
        co_return false;
    for (char32_t const character : typedCharacters(piece)) {
        KeyStroke const stroke = *keyboard.strokeFor(character);
        if (!co_await switches.strike(stroke))
            co_return false;
    }
    co_return true;
}

} // namespace zelvo
