#pragma once

#include "base/Task.h"
#include "platform/RunningApplication.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The application at a location.
struct ApplicationBundle {
    std::string identifier;
    std::string localizedName; ///< in the desktop's language
    ApplicationNames names;    ///< every name that may be on the hidden list, the identifier first
    bool operator==(ApplicationBundle const&) const = default;
};

/// The desktop's applications and what it can open. A location is the path of an application's desktop entry,
/// or without one the path of its executable. Names and identifiers are compared exactly.
/// Thread: any; each call may take a few milliseconds of the display server.
/// Made by: platform/linux/x11/windows/X11Workspace, tests/fakes/FakeDesktop.h.
class Workspace {
public:
    virtual ~Workspace() = default;
    /// The application whose window is in front.
    virtual std::optional<RunningApplication> frontmostApplication() = 0;
    /// The application of a process that owns a window.
    virtual std::optional<RunningApplication> application(std::int32_t pid) = 0;
    /// All applications that own a window, minimised ones too, in the order in which their windows appeared.
    /// A process with windows of several applications appears once for each.
    virtual std::vector<RunningApplication> runningApplications() = 0;

    /// Location of the application with this identifier: an installed one, else a running one. ".desktop" may
    /// follow the identifier.
    virtual std::optional<std::string> applicationLocation(std::string identifier) = 0;
    /// Location of the installed application with this name: its name in the desktop's language or without a
    /// language, its identifier or the last part of that. ".desktop" or ".app" may follow. The user's own
    /// applications come before the system's.
    virtual std::optional<std::string> applicationLocationNamed(std::string name) = 0;
    /// `nullopt` if there is no application.
    virtual std::optional<ApplicationBundle> bundle(std::string location) = 0;
    /// What to do with an application without a window to bring to the front.
    enum class NotRunning { isStarted, isLeft };
    /// Brings the last active window of a running application to the front, from any workspace, or else
    /// starts the application. Waits until its window is in front, at most some 5 s. Returns its name in the
    /// desktop's language, also if no window came or another stayed in front. Throws std::runtime_error if it
    /// can't be started.
    virtual Task<std::string> openApplication(std::string location, NotRunning notRunning) = 0;
    /// Opens a URL with the default application of its scheme. False if no application takes it or the text
    /// has no scheme.
    virtual bool openUrl(std::string url) = 0;
};

} // namespace zelvo
