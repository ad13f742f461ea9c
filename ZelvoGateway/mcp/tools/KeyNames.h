#pragma once

#include "wire/records/Heartbeat.h"

#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// The keys of a chord as machines name them, from the names of X and of browsers: "ctrl+shift+Page_Down".
/// Throws ToolFailure for a key without a name there, and for chords that machines cannot press.
std::vector<std::string> chordKeys(std::string_view chord, records::MachineOS os);
/// The same, from the keys one by one.
std::vector<std::string> chordKeys(std::vector<std::string> const& names, records::MachineOS os);
/// Modifiers alone, that are held during a click. Throws ToolFailure for other keys.
std::vector<std::string> modifierKeys(std::vector<std::string> const& names, records::MachineOS os);
/// "ctrl+shift" in its parts. Throws ToolFailure if there are more than a chord can have.
std::vector<std::string> chordParts(std::string_view chord);

} // namespace zelvo::service
