#include "platform/linux/x11/windows/X11Workspace.h"

#include "platform/linux/applications/ApplicationSearch.h"
#include "platform/linux/applications/UrlOpening.h"
#include "platform/linux/x11/windows/DesktopSnapshot.h"
#include "platform/linux/x11/windows/FocusQuestions.h"

#include <stdexcept>

namespace zelvo {

X11Workspace::X11Workspace(std::shared_ptr<X11Connection> connection,
                           DesktopEntries& entries,
                           ApplicationOpener* opener)
    : connection(std::move(connection)), entries(entries), opener(opener)
{
}

std::optional<RunningApplication> X11Workspace::frontmostApplication()
{
    if (!connection || !connection->isAlive())
        return std::nullopt;
    std::uint32_t const active = activeWindowOf(*connection);
    std::uint32_t const focused = focusedWindowOf(*connection);
    if (!active && !focused)
        return std::nullopt;
    DesktopSnapshot const desktop(*connection, entries);
    ClientWindow const* const front = desktop.clientAround(active ? active : focused);
    if (!front)
        return std::nullopt;
    RunningApplication application = desktop.owners().application(*front);
    append(application.names, desktop.namesAround(*front));
    // Keys go where the focus is, which a window without the window manager's care may have taken.
    if (ClientWindow const* const typedInto = desktop.clientAround(focused))
        append(application.names, desktop.namesAround(*typedInto));
    return application;
}

std::optional<RunningApplication> X11Workspace::application(std::int32_t pid)
{
    if (!connection || !connection->isAlive())
        return std::nullopt;
    DesktopSnapshot const desktop(*connection, entries);
    std::optional<RunningApplication> application;
    for (ClientWindow const* const client : desktop.clients()) {
        if (client->pid != pid)
            continue;
        if (application) // One of its windows may be transient for another application's.
            append(application->names, desktop.owners().namesOf(*client));
        else
            application = desktop.owners().application(*client);
    }
    return application;
}

std::vector<RunningApplication> X11Workspace::runningApplications()
{
    if (!connection || !connection->isAlive())
        return {};
    return DesktopSnapshot(*connection, entries).applications();
}

std::optional<std::string> X11Workspace::applicationLocation(std::string identifier)
{
    auto const index = entries.current();
    if (DesktopEntry const* const entry = entryWithId(*index, identifier))
        return entry->file;
    for (RunningApplication const& application : runningApplications())
        if (application.location && application.names.names.front() == identifier)
            return application.location;
    return std::nullopt;
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
    return DesktopSnapshot(*connection, entries).bundle(location);
}

Task<std::string> X11Workspace::openApplication(std::string location, NotRunning notRunning)
{
    if (!opener || !connection || !connection->isAlive())
        throw std::runtime_error("the display cannot be reached");
    co_return co_await opener->open(std::move(location), notRunning);
}

bool X11Workspace::openUrl(std::string url)
{
    return openWithDefaultApplication(url);
}

} // namespace zelvo
