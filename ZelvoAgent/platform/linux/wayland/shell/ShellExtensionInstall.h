#pragma once

#include "platform/linux/wayland/shell/ShellLink.h"

#include <filesystem>
#include <optional>

namespace zelvo {

/// Our extension of GNOME Shell in a person's folders. The shell reads it only when a session begins.
/// Thread: any; each blocks for some milliseconds.
class ShellExtensionInstall {
public:
    static constexpr char const* uuid = "zelvo@zelvo.dev";

    enum class State {
        noShell,     ///< it does not answer
        unsupported, ///< the shell is older or newer than the versions that the extension is written for
        absent,
        needsLogin, ///< installed, but this session began before
        disabled,   ///< the person, or the shell after a failure, switched it off
        enabled,
    };

    /// dataHome  $XDG_DATA_HOME
    ShellExtensionInstall(std::filesystem::path const& dataHome, ShellLink& link);

    State state();
    /// Writes the extension for a version of the shell, 43 and newer; it will answer only processes that run
    /// the program. False if that version is unsupported, or the folder cannot be written.
    bool write(int shellVersion, std::filesystem::path const& program);
    /// The program that the installed extension answers, if it is not this one; it stays as it is then.
    std::optional<std::filesystem::path> otherProgram(std::filesystem::path const& program) const;
    /// Asks the shell to switch it on, after the person pressed our button for it. False if the shell
    /// refuses.
    bool enable();
    void remove();
    /// The major version of the shell; `nullopt` if it does not answer.
    std::optional<int> shellVersion();

private:
    std::filesystem::path folder;
    ShellLink& link;
};

} // namespace zelvo
