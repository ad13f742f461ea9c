#pragma once

#include "platform/linux/applications/ApplicationIdentity.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>

namespace zelvo {

/// The application that a window belongs to.
struct WindowApplication {
    ApplicationNames names;
    std::string localizedName;
    DesktopEntry const* entry = nullptr; ///< of the index
};

/// Decides the application of every client's window in a survey, by the window's id.
///
/// A window that finds no entry by itself (a dialog, a splash, a palette) belongs to the application of the
/// window that it is transient for, else of its group's leader, else of its process's last active window that
/// has one. An application in a process has the names that any of its windows there gives it. A window is
/// hidden with the windows that it is transient for; one whose application its process alone decides, with
/// all applications of that process, and with what the windows there are hidden with.
///
/// own: this program's process id. facts: what the system knows of a process.
std::unordered_map<std::uint32_t, WindowApplication>
windowApplications(WindowSurvey const& survey,
                   DesktopEntryIndex const& entries,
                   std::int32_t own,
                   std::function<ProcessFacts const&(std::int32_t)> const& facts);

} // namespace zelvo
