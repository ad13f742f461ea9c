#pragma once

#include <optional>
#include <string>
#include <vector>

/// Knows the key combinations that commit something at once: that send, save or throw away. Pure; any thread.
namespace zelvo::DangerousShortcuts {

/// One form for every spelling of a combination: "cmd+shift+d".
std::string normalize(std::vector<std::string> const& keys);

/// What the combination does, in the person's language; nothing when it is not known to be dangerous.
/// app  the bundle identifier of the application in front
std::optional<std::string> meaning(std::vector<std::string> const& keys,
                                   std::optional<std::string> const& app);

/// Does it press whatever has the keyboard focus, or the default button of a dialog?
bool activatesFocusedControl(std::vector<std::string> const& keys);

} // namespace zelvo::DangerousShortcuts
