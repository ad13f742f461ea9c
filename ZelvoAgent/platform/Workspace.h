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
    ApplicationNames names;    ///< as far as they are known; more are known of one that runs
    bool operator==(ApplicationBundle const&) const = default;
};

/// The desktop's applications and what it can open. A location is the path of an application's desktop entry;
/// for a running application without one it is a text that finds it again as long as it runs. Thread: any;
/// each call may take a few milliseconds of the display server. Made by:
/// platform/linux/x11/windows/X11Workspace, tests/fakes/FakeWorkspace.
class Workspace {
public:
    virtual ~Workspace() = default;
    /// The application whose window is in front, hidden with all that what is typed there may reach.
    /// `nullopt` if there is none. Throws AgentError::machineUnavailable if that cannot be found out for the
    /// moment.
    virtual std::optional<RunningApplication> frontmostApplication() = 0;
    /// The application of a process, when that owns a window: of several the one that was active last, hidden
    /// with all of them.
    virtual std::optional<RunningApplication> application(std::int32_t pid) = 0;
    /// All applications that own a window, minimised ones too, in the order in which their windows appeared.
    /// A process with windows of several applications appears once for each.
    virtual std::vector<RunningApplication> runningApplications() = 0;

    /// Where the application is that is asked for by this identifier, or by another of its names in any case
    /// of letters. ".desktop" may follow.
    virtual std::optional<std::string> applicationLocation(std::string identifier) = 0;
    /// Where the installed application is that is called this, by its name in the desktop's language or
    /// without a language, by its identifier or the last part of that, compared exactly; ".desktop" or ".app"
    /// may follow. The person's own applications come before those of the system.
    virtual std::optional<std::string> applicationLocationNamed(std::string name) = 0;
    /// `nullopt` if there is no application.
    virtual std::optional<ApplicationBundle> bundle(std::string location) = 0;
    /// What to do with an application without a window to bring to the front.
    enum class NotRunning { isStarted, isLeft };
    /// Brings the last active window of an application that runs to the front, wherever it is, or else starts
    /// the application; waits until its window is in front, at the latest until the deadline. Gives its name
    /// in the desktop's language, also when no window came or another stayed in front. Throws
    /// std::runtime_error when it can't be started.
    virtual Task<std::string>
    openApplication(std::string location, NotRunning notRunning, Instant deadline) = 0;
    /// Opens a URL with the default application of its scheme. False when nothing takes it, and for a text
    /// that is no URL with a scheme.
    virtual bool openUrl(std::string url) = 0;
};

} // namespace zelvo
