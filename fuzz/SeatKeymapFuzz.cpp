#include "platform/linux/wayland/input/SeatKeyboard.h"

#include <cstdint>
#include <cstdlib>
#include <string>

/// The parser of libxkbcommon 1.5 leaks where it gives up.
extern "C" char const*
__lsan_default_suppressions() // NOLINT(bugprone-reserved-identifier): the sanitizer's name.
{
    return "leak:libxkbcommon";
}

/// The keymap that a compositor gives, as text.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    using namespace zelvo;
    SeatKeymap const given{
        .text = {reinterpret_cast<char const*>(data), size}, .group = size % 5, .hasCapsLock = size % 2 == 0};
    SeatKeyboard keyboard([&] { return given; });
    bool const isKnown = keyboard.refresh();
    if (isKnown != keyboard.isKnown() || isKnown == keyboard.isUnreadable())
        std::abort();
    if (!isKnown)
        return 0;
    for (char32_t const character : {U'a', U'V', U'\n', U'漢'})
        if (auto const* const stroke = keyboard.strokeFor(character); stroke && stroke->keycode < 8)
            std::abort();
    for (unsigned keycode = 8; keycode < 256; keycode += 8)
        keyboard.readings(static_cast<std::uint8_t>(keycode), {.shift = true, .ctrl = true});
    return 0;
}
