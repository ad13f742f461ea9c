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

/// A combination that is known to be dangerous.
struct Match {
    std::string combination; ///< what the person is told that will be pressed
    std::string meaning;
    bool operator==(Match const&) const = default;
};

using Chords = std::vector<std::vector<std::string>>;

/// The same with what the keys give in the keyboard layout, see KeyboardLayout: key names are positions, so
/// "ctrl+semicolon" may be Control and S. What will be pressed comes before what was sent.
std::optional<Match>
match(std::vector<std::string> const& keys, std::optional<std::string> const& app, Chords const& given);

/// True if the combination presses the focused element or the default button of a dialog.
bool activatesFocusedControl(std::vector<std::string> const& keys, Chords const& given = {});

/// "return" or "space" if that is the key, whatever modifiers are held with it.
std::optional<std::string> activatingKey(std::vector<std::string> const& keys, Chords const& given);

} // namespace zelvo::DangerousShortcuts
