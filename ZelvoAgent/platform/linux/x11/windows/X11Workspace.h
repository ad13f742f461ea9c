#pragma once

#include "platform/Workspace.h"
#include "platform/linux/applications/ApplicationOpener.h"
#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/windows/KeyboardGrab.h"

#include <memory>

namespace zelvo {

/// The desktop's applications as the window manager and the desktop entries tell of them.
class X11Workspace final : public Workspace {
public:
    /// connection  null if the server can't be reached; then nothing is in front
    /// opener      null if no application is to be opened
    /// grab        null if nobody reports grabs
    /// The references must outlive this object.
    X11Workspace(std::shared_ptr<X11Connection> connection,
                 DesktopEntries& entries,
                 ApplicationOpener* opener = nullptr,
                 std::shared_ptr<KeyboardGrab const> grab = nullptr);

    std::optional<RunningApplication> frontmostApplication() override;
    std::optional<RunningApplication> application(std::int32_t pid) override;
    /// The application of a process, also of one without windows. It has no names if there is no such
    /// process.
    RunningApplication process(std::int32_t pid);
    std::vector<RunningApplication> runningApplications() override;
    std::optional<std::string> applicationLocation(std::string identifier) override;
    std::optional<std::string> applicationLocationNamed(std::string name) override;
    std::optional<ApplicationBundle> bundle(std::string location) override;
    Task<std::string> openApplication(std::string location, NotRunning notRunning, Instant deadline) override;
    bool openUrl(std::string url) override;

private:
    std::shared_ptr<X11Connection> connection;
    DesktopEntries& entries;
    ApplicationOpener* opener;
    std::shared_ptr<KeyboardGrab const> grab;
};

} // namespace zelvo
