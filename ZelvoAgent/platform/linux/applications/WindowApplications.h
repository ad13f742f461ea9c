#pragma once

#include "platform/RunningApplication.h"
#include "platform/linux/applications/ApplicationIdentity.h"
#include "platform/linux/applications/ClientWindow.h"
#include "platform/linux/applications/KnownProcesses.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace zelvo {

/// The application that a window belongs to.
struct WindowApplication {
    ApplicationNames names;
    std::string localizedName;
    DesktopEntry const* entry = nullptr; ///< of the index
};

/// The windows of a moment by which their applications are decided.
struct ClientWindows {
    std::vector<ClientWindow const*> lastActiveFirst;
    std::vector<ClientWindow const*> leaders; ///< of groups of windows; on no screen
};

/// Decides the application of each window, by the window's id.
///
/// A window that finds no entry by itself (a dialog, a splash, a palette) belongs to the application of the
/// window that it is transient for, else of its group's leader, else of its process's last active window that
/// has one. An application in a process has the names that any of its windows there gives it. A window is
/// hidden with the windows that it is transient for; one whose application its process alone decides, with
/// all applications of that process, and with what the windows there are hidden with.
///
/// own  this program's process id
std::unordered_map<std::uint32_t, WindowApplication> windowApplications(ClientWindows const& windows,
                                                                        DesktopEntryIndex const& entries,
                                                                        std::int32_t own,
                                                                        KnownProcesses const& processes);

/// The application of a window, in the window's process. See Workspace for its location.
RunningApplication runningApplication(WindowApplication const& known,
                                      ClientWindow const& window,
                                      KnownProcesses const& processes);

} // namespace zelvo
