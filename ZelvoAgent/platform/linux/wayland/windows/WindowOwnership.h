#pragma once

#include "platform/linux/applications/WindowApplications.h"
#include "platform/linux/wayland/WindowSource.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace zelvo {

/// Whose the windows of one moment are; see windowApplications() for the rules. A pop-up belongs to the
/// application of its parent, one without a parent to its process's. Thread: one.
class WindowOwnership {
public:
    /// The windows and the entries must outlive this.
    /// own    this program's process id
    /// facts  reads what the system knows of a process
    WindowOwnership(WindowsNow const& now,
                    DesktopEntryIndex const& entries,
                    std::int32_t own,
                    KnownProcesses::Read facts = readProcessFacts);

    /// The names by which a window can be hidden. Those of a window that is not among those of the moment are
    /// empty, and hidden with any other.
    ApplicationNames namesOf(CompositorWindow const& window) const;
    bool isOwn(CompositorWindow const& window) const { return window.pid == own; }
    /// The application that a window belongs to, in the window's process.
    RunningApplication application(CompositorWindow const& window) const;

private:
    /// `nullptr` for a window that is not among those of the moment.
    ClientWindow const* find(CompositorWindow const& window) const;
    ClientWindows lastActiveFirst(WindowsNow const& now) const;

    std::int32_t own;
    KnownProcesses processes;
    std::vector<ClientWindow> clients;         // in the order of the windows
    std::map<std::string, std::size_t> places; // of the compositor's windows in that order
    std::unordered_map<std::uint32_t, WindowApplication> applications;
};

} // namespace zelvo
