#include "platform/linux/x11/X11Workspace.h"

#include "platform/linux/x11/FocusQuestions.h"
#include "platform/linux/x11/UrlOpening.h"
#include "platform/linux/x11/WindowOwners.h"

#include <unistd.h>

#include <algorithm>

namespace zelvo {

X11Workspace::X11Workspace(std::shared_ptr<X11Connection> connection, DesktopEntries& entries)
    : connection(std::move(connection)), entries(entries)
{
}

namespace {

/// One look at the windows and whose they are.
class Desktop {
public:
    Desktop(X11Connection const& connection, DesktopEntries& entries)
        : connection(connection), survey(surveyWindows(connection)), index(entries.current()),
          windowOwners(survey, *index, ::getpid())
    {
    }

    WindowOwners const& owners() const { return windowOwners; }

    /// The client whose window this is, or lies in. None for the window manager's own windows, on which it
    /// keeps the focus when no application is in front.
    ClientWindow const* clientAround(std::uint32_t window) const
    {
        for (int depth = 0; window && window != connection.root() && depth < 32; ++depth) {
            if (ClientWindow const* const client = windowOwners.find(window))
                return isWindowManagers(*client) ? nullptr : client;
            window = parentOf(connection, window);
        }
        return nullptr;
    }

    /// All who share a window on the screen with a client, itself included: what is typed there may reach any
    /// of them.
    ApplicationNames namesAround(ClientWindow const& client) const
    {
        for (SurveyedWindow const& window : survey.windows)
            if (window.client.id == client.id ||
                std::ranges::any_of(window.embedded,
                                    [&](auto const& inside) { return inside.client.id == client.id; }))
                return windowOwners.namesOf(window);
        return {};
    }

    template <class F>
    void eachClient(F visit) const
    {
        for (SurveyedWindow const& window : survey.windows) {
            if (!window.windowManagers)
                visit(window.client);
            for (EmbeddedWindow const& inside : window.embedded)
                visit(inside.client);
        }
        for (ClientWindow const& client : survey.others)
            visit(client);
    }

private:
    bool isWindowManagers(ClientWindow const& client) const
    {
        return std::ranges::any_of(survey.windows, [&](SurveyedWindow const& window) {
            return window.windowManagers && window.id == client.id;
        });
    }

    X11Connection const& connection;
    WindowSurvey survey;
    std::shared_ptr<DesktopEntryIndex const> index;
    WindowOwners windowOwners;
};

} // namespace

std::optional<RunningApplication> X11Workspace::frontmostApplication()
{
    if (!connection || !connection->isAlive())
        return std::nullopt;
    std::uint32_t const active = activeWindowOf(*connection);
    std::uint32_t const focused = focusedWindowOf(*connection);
    if (!active && !focused)
        return std::nullopt;
    Desktop const desktop(*connection, entries);
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
    Desktop const desktop(*connection, entries);
    std::optional<RunningApplication> application;
    desktop.eachClient([&](ClientWindow const& client) {
        if (client.pid != pid)
            return;
        if (application) // One of its windows may be transient for another application's.
            append(application->names, desktop.owners().namesOf(client));
        else
            application = desktop.owners().application(client);
    });
    return application;
}

bool X11Workspace::openUrl(std::string url)
{
    return openWithDefaultApplication(url);
}

} // namespace zelvo
