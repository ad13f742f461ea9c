#include "drivers/Chord.h"

#include "base/Text.h"
#include "drivers/KeyCodes.h"

namespace zelvo {

Chord Chord::of(std::vector<std::string> const& names)
{
    Chord chord;
    for (std::string const& each : names) {
        std::string name = text::lowercased(each);
        if (auto const modifier = fromRawValue<Modifier>(name))
            add(chord.flags, *modifier);
        else if (KeyCodes::code(name))
            chord.key = std::move(name);
        else
            chord.key.reset(); // Only the last name counts, even an unknown one.
    }
    return chord;
}

void add(ModifierFlags& flags, Modifier modifier)
{
    switch (modifier) {
    case Modifier::cmd:
        flags.cmd = true;
        break;
    case Modifier::shift:
        flags.shift = true;
        break;
    case Modifier::alt:
        flags.alt = true;
        break;
    case Modifier::ctrl:
        flags.ctrl = true;
        break;
    case Modifier::fn:
        flags.fn = true;
        break;
    }
}

} // namespace zelvo
