#include "platform/linux/wayland/input/KeyText.h"

#include "base/Hop.h"
#include "platform/linux/input/TypedText.h"

#include <algorithm>

namespace zelvo {

namespace {

constexpr Duration maxAge = 10ms; // Of what is known of the keyboard; asking takes some milliseconds.

} // namespace

Task<bool> KeyText::begin(std::string text)
{
    if (!switches.door())
        co_return false;
    auto const count = [&] { return typedCharacters(text); };
    std::u32string characters = co_await on(contexts.workers, count);
    co_return co_await hasAllNow(std::move(characters));
}

bool KeyText::hasAll(std::u32string const& characters)
{
    return keyboard.refresh() && keyboard.isCertain() &&
           std::ranges::all_of(
               characters, [this](char32_t character) { return keyboard.strokeFor(character) != nullptr; });
}

Task<bool> KeyText::hasAllNow(std::u32string characters)
{
    bool const found = co_await on(contexts.workers, [&] { return hasAll(characters); });
    refreshed = clock.now();
    co_return found;
}

Task<bool> KeyText::type(std::string piece)
{
    std::u32string const characters = typedCharacters(piece);
    // The person may switch to another layout at any time.
    if (!co_await hasAllNow(characters))
        co_return false;
    for (std::size_t i = 0; i < characters.size(); ++i) {
        if (clock.now() - refreshed > maxAge && !co_await hasAllNow(characters.substr(i)))
            co_return false;
        KeyStroke const stroke = *keyboard.strokeFor(characters[i]);
        if (!co_await switches.strike(stroke))
            co_return false;
    }
    co_return true;
}

} // namespace zelvo
