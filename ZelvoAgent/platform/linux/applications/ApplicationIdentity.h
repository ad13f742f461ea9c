#pragma once

#include "platform/RunningApplication.h"
#include "platform/linux/applications/DesktopEntryIndex.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// What a window says of the application that it belongs to. Empty where it says nothing.
struct WindowWords {
    std::string gtkApplicationId; ///< _GTK_APPLICATION_ID
    std::string kdeDesktopFile;   ///< _KDE_NET_WM_DESKTOP_FILE
    std::string instance;         ///< of WM_CLASS
    std::string className;        ///< of WM_CLASS
    bool operator==(WindowWords const&) const = default;
};

/// What the system knows of a process.
struct ProcessFacts {
    std::int32_t pid = 0;
    std::filesystem::path executable;     ///< links resolved; only a name when the path can't be read
    std::vector<std::string> confinedIds; ///< the id of its Flatpak or Snap
    std::optional<Date> started;
    bool operator==(ProcessFacts const&) const = default;
};

/// Reads /proc. Empty facts for a process that is gone.
ProcessFacts readProcessFacts(std::int32_t pid);
/// The ids that the text of /proc/PID/cgroup tells of.
std::vector<std::string> confinedIdsIn(std::string const& cgroups);

/// The names that an application goes by, the best first: its own word, entries by StartupWMClass, by id, by
/// program, then WM_CLASS's class and the executable's name. words: those of the window in question first,
/// then of the others of its process. "dev.zelvo.agent" is never among them: that is this program alone,
/// known by its process id. All are UTF-8, ill-formed sequences replaced.
ApplicationNames applicationNames(std::vector<WindowWords> const& words,
                                  ProcessFacts const& process,
                                  DesktopEntryIndex const& entries);

/// The entry that the application is known by: of those names the first that points at one. A program's name
/// alone points at none, since it may be an interpreter's. Null when there is none.
DesktopEntry const*
entryOf(std::vector<WindowWords> const& words, ProcessFacts const& process, DesktopEntryIndex const& entries);

/// The name for a person: that of the first entry among the names, else the first window's class, else the
/// program's; UTF-8.
std::string localizedName(ApplicationNames const& names,
                          std::vector<WindowWords> const& words,
                          ProcessFacts const& process,
                          DesktopEntryIndex const& entries);

/// Joins names without doubles, their order kept.
void append(ApplicationNames& names, ApplicationNames const& more);

} // namespace zelvo
