#pragma once

#include "base/Task.h"
#include "platform/RunningApplication.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// What stands at an application's location.
struct ApplicationBundle {
    std::string identifier;
    std::string localizedName; ///< in the desktop's language
    ApplicationNames names;    ///< all that it may be hidden under, the identifier first
    bool operator==(ApplicationBundle const&) const = default;
};

/// The desktop's applications and what it can open. A location is a path: that of an application's desktop
/// entry, or for an application without one that of its executable. Names and identifiers are compared
/// exactly. Thread: any; each call may take a few milliseconds of the display server. Made by:
/// platform/linux/x11/windows/X11Workspace, tests/fakes/FakeWorkspace.
class Workspace {
public:
    virtual ~Workspace() = default;
    /// The application whose window is in front.
    virtual std::optional<RunningApplication> frontmostApplication() = 0;
    /// The application of a process, when that owns a window.
    virtual std::optional<RunningApplication> application(std::int32_t pid) = 0;
    /// All applications that own a window, minimised ones too, in the order in which their windows appeared.
    /// A process that has windows of several applications is there once for each.
    virtual std::vector<RunningApplication> runningApplications() = 0;

    /// Where the application with this identifier is: an installed one, else one that runs. ".desktop" may
    /// stand behind the identifier.
    virtual std::optional<std::string> applicationLocation(std::string identifier) = 0;
    /// Where the installed application is that is called this, by its name in the desktop's language or
    /// without a language, by its identifier or the last part of that; ".desktop" or ".app" may stand behind
    /// it. The person's own applications come before those of the system.
    virtual std::optional<std::string> applicationLocationNamed(std::string name) = 0;
    /// Nothing when no application is there.
    virtual std::optional<ApplicationBundle> bundle(std::string location) = 0;
    /// What is to become of an application without a window that could be brought to the front.
    enum class NotRunning { isStarted, isLeft };
    /// Brings the last active window of an application that runs to the front, wherever it is, or else starts
    /// the application; waits until its window is in front, at most some 5 s. Gives its name in the desktop's
    /// language, also when no window came or another stayed in front. Throws std::runtime_error when it can't
    /// be started.
    virtual Task<std::string> openApplication(std::string location, NotRunning notRunning) = 0;
    /// Opens a URL with the default application of its scheme. False when nothing takes it, and for a text
    /// that is no URL with a scheme.
    virtual bool openUrl(std::string url) = 0;
};

} // namespace zelvo
