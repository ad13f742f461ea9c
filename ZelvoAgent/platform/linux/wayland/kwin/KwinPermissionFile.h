#pragma once

#include "platform/linux/applications/DesktopEntries.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The desktop entry by which KWin lets a program take pictures. KWin looks for an entry whose Exec is
/// exactly the path of the asking process's executable, links resolved and without arguments, and reads from
/// the first one which interfaces the program may use. A change takes effect at once. Thread: any.
class KwinPermissionFile {
public:
    enum class State {
        there,
        missing,  ///< no entry has this Exec
        shadowed, ///< another entry has the same Exec and does not allow it; KWin may read that one
    };

    /// What the file is usually called in a folder "applications" of the XDG data path.
    static constexpr char const* fileName = "dev.zelvo.agent.kwin.desktop";

    /// entries     must outlive it
    /// executable  links resolved
    KwinPermissionFile(DesktopEntries& entries, std::filesystem::path executable);

    /// The entry to install, which no menu shows.
    std::string text() const;
    /// The name to install it under: `fileName`, or a similar one if an entry of that name belongs to another
    /// program in one of the folders, since it would be hidden or replaced. `nullopt` if none is left.
    /// folders  those called "applications" of the XDG data path. Reads files.
    std::optional<std::string> nameIn(std::vector<std::filesystem::path> const& folders) const;
    /// What the installed entries say. Reads files. KwinScreenshots::isAllowed() asks KWin itself.
    State state() const;

private:
    DesktopEntries& entries;
    std::filesystem::path const executable;
};

} // namespace zelvo
