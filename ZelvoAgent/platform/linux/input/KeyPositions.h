#pragma once

#include <cstdint>
#include <optional>

namespace zelvo {

/// The X keycode of the key that stands where a virtual key code's key stands on an ANSI keyboard: the
/// kernel's code plus 8, whatever the layout makes of it. Nothing for a code that no key has.
std::optional<std::uint8_t> keycodeAtPosition(std::uint16_t virtualKey);

/// The keycode of the key labelled P on an ANSI keyboard.
inline constexpr std::uint8_t keycodeOfP = 33;

} // namespace zelvo
