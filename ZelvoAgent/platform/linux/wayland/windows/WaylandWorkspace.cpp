#include "platform/linux/wayland/windows/WaylandWorkspace.h"

#include "platform/linux/applications/ApplicationSearch.h"
#include "platform/linux/applications/UrlOpening.h"
#include "wire/AgentError.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace zelvo {

WaylandWorkspace::WaylandWorkspace(CompositorWindows& desktop,
                                   ApplicationOpener* opener,
                                   ActiveProcess activeProcess)
    : desktop(desktop), opener(opener), activeProcess(std::move(activeProcess))
{
}

std::optional<RunningApplication> WaylandWorkspace::frontmostApplication()
{
    if (auto const snapshot = desktop.look())
        return snapshot->frontmost();
    auto const windows = openWindowsOf(nullptr, desktop, activeProcess);
    if (windows.empty())
        throw AgentError::machineUnavailable; // It may be a hidden application.
    return windows.front().application;
}

std::optional<RunningApplication> WaylandWorkspace::application(std::int32_t pid)
{
    if (auto const snapshot = desktop.look())
        return applicationOf(snapshot->openWindows(), pid);
    RunningApplication program = desktop.program(pid);
    return program.names.identifier() ? std::optional(std::move(program)) : std::nullopt;
}

RunningApplication WaylandWorkspace::process(std::int32_t pid)
{
    auto const snapshot = desktop.look();
    auto const windows = openWindowsOf(snapshot.get(), desktop, activeProcess);
    auto known = applicationOf(windows, pid);
    RunningApplication application = known ? *std::move(known) : desktop.program(pid);
    application.isRegular = std::ranges::any_of(
        windows, [pid](OpenWindow const& window) { return window.pid == pid && window.isRegular; });
    return application;
}

std::vector<RunningApplication> WaylandWorkspace::runningApplications()
{
    auto const snapshot = desktop.look();
    return applicationsOf(openWindowsOf(snapshot.get(), desktop, activeProcess));
}

std::optional<std::string> WaylandWorkspace::applicationLocation(std::string identifier)
{
    return locationAskedFor(identifier, *desktop.entries(), runningApplications());
}

std::optional<std::string> WaylandWorkspace::applicationLocationNamed(std::string name)
{
    auto const index = desktop.entries();
    DesktopEntry const* const entry = entryNamed(*index, name);
    return entry ? std::optional<std::string>(entry->file) : std::nullopt;
}

std::optional<ApplicationBundle> WaylandWorkspace::bundle(std::string location)
{
    auto const snapshot = desktop.look();
    return bundleAt(location, openWindowsOf(snapshot.get(), desktop, activeProcess), *desktop.entries());
}

Task<std::string>
WaylandWorkspace::openApplication(std::string location, NotRunning notRunning, Instant deadline)
{
    if (!opener)
        throw std::runtime_error("applications cannot be opened");
    co_return co_await opener->open(std::move(location), notRunning, deadline);
}

bool WaylandWorkspace::openUrl(std::string url)
{
    return openWithDefaultApplication(url);
}

} // namespace zelvo
