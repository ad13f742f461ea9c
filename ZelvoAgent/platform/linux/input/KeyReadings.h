#pragma once

#include "platform/EventPosting.h"
#include "platform/linux/input/KeyTable.h"

#include <cstdint>
#include <string>
#include <vector>

struct xkb_keymap;

namespace zelvo {

/// The chords that programs may read from a key with these modifiers, without doubles: what the active group
/// gives first, then the other groups, because GTK and Qt look there for a shortcut too. Where Shift changes
/// more than the case, it may have been used up to reach the symbol, so the chord without it is there as
/// well. The lock keys are tried as they are and off. Pure.
std::vector<std::vector<std::string>> readingsOf(xkb_keymap* keymap,
                                                 KeyboardState const& state,
                                                 ModifierKeys const& modifiers,
                                                 std::uint8_t keycode,
                                                 ModifierFlags flags);

} // namespace zelvo
