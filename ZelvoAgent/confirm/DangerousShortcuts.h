#pragma once

#include <optional>
#include <string>
#include <vector>

/// Knows the key combinations that take effect at once: send, save or discard. Pure; any thread.
namespace zelvo::DangerousShortcuts {

/// The canonical form of every spelling of a combination: "cmd+shift+d".
std::string normalize(std::vector<std::string> const& keys);

/// What the combination does, in the person's language; `nullopt` if it is not known to be dangerous.
/// app  the bundle identifier of the frontmost application
std::optional<std::string> meaning(std::vector<std::string> const& keys,
                                   std::optional<std::string> const& app);

/// True if the combination presses the focused element or the default button of a dialog.
bool activatesFocusedControl(std::vector<std::string> const& keys);

} // namespace zelvo::DangerousShortcuts
