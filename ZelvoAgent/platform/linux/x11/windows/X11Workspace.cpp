#include "platform/linux/x11/windows/X11Workspace.h"

#include "platform/linux/applications/ApplicationSearch.h"
#include "platform/linux/applications/UrlOpening.h"
#include "platform/linux/x11/windows/DesktopSnapshot.h"
#include "platform/linux/x11/windows/FocusQuestions.h"

#include <stdexcept>

namespace zelvo {

X11Workspace::X11Workspace(std::shared_ptr<X11Connection> connection,
                           DesktopEntries& entries,
                           ApplicationOpener* opener,
                           std::shared_ptr<KeyboardGrab const> grab)
    : connection(std::move(connection)), entries(entries), opener(opener), grab(std::move(grab))
{
}

std::optional<RunningApplication> X11Workspace::frontmostApplication()
{
    if (!connection || !connection->isAlive())
        return std::nullopt;
    std::uint32_t const active = activeWindowOf(*connection);
    std::uint32_t const focused = keyboardWindowOf(*connection);
    std::uint32_t const grabbing = grab ? grab->window() : 0;
    if (!active && !focused && !grabbing)
        return std::nullopt;
    DesktopSnapshot const desktop(*connection, entries);
    ClientWindow const* front = desktop.clientAround(active ? active : focused);
    if (!front)
        front = desktop.clientAround(grabbing);
    if (!front)
        return std::nullopt;
    RunningApplication application = desktop.owners().application(*front);
    application.names.hideWith(desktop.namesAround(*front));
    // Keys go to a grab, or where the focus is; a window may have either without the window manager's care.
    for (std::uint32_t const window : {focused, grabbing})
        if (ClientWindow const* const typedInto = desktop.clientAround(window))
            application.names.hideWith(desktop.namesAround(*typedInto));
    return application;
}

std::optional<RunningApplication> X11Workspace::application(std::int32_t pid)
{
    if (!connection || !connection->isAlive())
        return std::nullopt;
    return applicationOf(DesktopSnapshot(*connection, entries).openWindows(), pid);
}

RunningApplication X11Workspace::process(std::int32_t pid)
{
    if (!connection || !connection->isAlive())
        return {};
    return DesktopSnapshot(*connection, entries).processApplication(pid);
}

std::vector<RunningApplication> X11Workspace::runningApplications()
{
    if (!connection || !connection->isAlive())
        return {};
    return applicationsOf(DesktopSnapshot(*connection, entries).openWindows());
}

std::optional<std::string> X11Workspace::applicationLocation(std::string identifier)
{
    return locationAskedFor(identifier, *entries.current(), runningApplications());
}

std::optional<std::string> X11Workspace::applicationLocationNamed(std::string name)
{
    auto const index = entries.current();
    DesktopEntry const* const entry = entryNamed(*index, name);
    return entry ? std::optional<std::string>(entry->file) : std::nullopt;
}

std::optional<ApplicationBundle> X11Workspace::bundle(std::string location)
{
    if (!connection || !connection->isAlive())
        return std::nullopt;
    DesktopSnapshot const desktop(*connection, entries);
    return bundleAt(location, desktop.openWindows(), desktop.entryIndex());
}

Task<std::string> X11Workspace::openApplication(std::string location, NotRunning notRunning, Instant deadline)
{
    if (!opener || !connection || !connection->isAlive())
        throw std::runtime_error("the display cannot be reached");
    co_return co_await opener->open(std::move(location), notRunning, deadline);
}

bool X11Workspace::openUrl(std::string url)
{
    return openWithDefaultApplication(url);
}

} // namespace zelvo
