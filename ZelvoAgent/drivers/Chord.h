#pragma once

#include "drivers/InputAction.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// What a list of key names presses: the modifiers among them, and the last of the other keys. Only the case
/// of the names is normalized.
struct Chord {
    ModifierFlags flags;
    std::optional<std::string> key; ///< `nullopt` if no key has that name

    static Chord of(std::vector<std::string> const& names);
};

/// Adds a modifier to the flags of an event.
void add(ModifierFlags& flags, Modifier modifier);

} // namespace zelvo
