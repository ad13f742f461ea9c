#pragma once

#include "platform/Workspace.h"
#include "platform/linux/applications/ApplicationOpener.h"
#include "platform/linux/wayland/windows/ActiveProcess.h"
#include "platform/linux/wayland/windows/CompositorWindows.h"

namespace zelvo {

/// The desktop's applications as the compositor's windows and the desktop entries show them. Where nobody
/// sees the windows, the process with the active accessible window is in front, its program identifies it,
/// and no other runs as far as is known.
class WaylandWorkspace final : public Workspace {
public:
    /// opener         null if no application is to be opened
    /// activeProcess  used where there are no windows; may be empty
    /// The references must outlive this.
    WaylandWorkspace(CompositorWindows& desktop, ApplicationOpener* opener, ActiveProcess activeProcess = {});

    /// Throws AgentError::machineUnavailable if it cannot be found out.
    std::optional<RunningApplication> frontmostApplication() override;
    std::optional<RunningApplication> application(std::int32_t pid) override;
    /// The application of a process, also of one without windows, and whether it owns a normal window or a
    /// dialog. It has no names if there is no such process.
    RunningApplication process(std::int32_t pid);
    std::vector<RunningApplication> runningApplications() override;
    std::optional<std::string> applicationLocation(std::string identifier) override;
    std::optional<std::string> applicationLocationNamed(std::string name) override;
    std::optional<ApplicationBundle> bundle(std::string location) override;
    Task<std::string> openApplication(std::string location, NotRunning notRunning, Instant deadline) override;
    bool openUrl(std::string url) override;

private:
    CompositorWindows& desktop;
    ApplicationOpener* opener;
    ActiveProcess activeProcess;
};

} // namespace zelvo
