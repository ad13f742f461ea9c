#pragma once

#include "platform/Workspace.h"
#include "platform/linux/applications/DesktopEntryIndex.h"
#include "platform/linux/applications/StartMarks.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A window, whose it is and where it is among the others.
struct OpenWindow {
    std::uint32_t id = 0;
    std::optional<std::int32_t> pid = {};
    RunningApplication application; ///< without isRegular and isActive
    bool isRegular = false;         ///< a normal window or a dialog, in the window manager's care
    bool isMinimized = false;
    bool isShaded = false;  ///< only its title bar is shown
    bool isInFront = false; ///< the one window that is
    std::size_t age = 0;    ///< its place by appearance, the oldest first
    std::size_t height = 0; ///< its place from back to front; 0 if unknown
    std::string startupId = {};
};

/// An application's window to be brought to the front.
struct ApplicationWindow {
    std::uint32_t id = 0; ///< 0: the application has none
    bool inFront = false; ///< a window of the application is active and shown; perhaps another one
    bool operator==(ApplicationWindow const&) const = default;
};

/// See Workspace::runningApplications().
std::vector<RunningApplication> applicationsOf(std::vector<OpenWindow> const& windows);
/// See Workspace::application().
std::optional<RunningApplication> applicationOf(std::vector<OpenWindow> const& windows, std::int32_t pid);
/// The same, also for a process without windows, which its program identifies. It has no names if there is no
/// such process.
RunningApplication processApplication(std::vector<OpenWindow> const& windows,
                                      std::int32_t pid,
                                      DesktopEntryIndex const& entries);
/// See Workspace::bundle().
std::optional<ApplicationBundle> bundleAt(std::string const& location,
                                          std::vector<OpenWindow> const& windows,
                                          DesktopEntryIndex const& entries);
/// The window of the application at a location that was active last, as far as the windows' order says: one
/// that is shown before a minimised one, then that nearest to the front.
/// started  null if the application was not started just now
ApplicationWindow
windowToOpen(std::vector<OpenWindow> const& windows, std::string const& location, StartMarks const* started);

} // namespace zelvo
