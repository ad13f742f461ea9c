#pragma once

#include "drivers/InputAction.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// What a list of key names comes to when it is pressed: the modifiers among them, and the last of the
/// others. Names are taken as they stand, but for their case.
struct Chord {
    ModifierFlags flags;
    std::optional<std::string> key; ///< nothing for a name that no key has

    static Chord of(std::vector<std::string> const& names);
};

/// Adds a modifier to the flags of an event.
void add(ModifierFlags& flags, Modifier modifier);

} // namespace zelvo
