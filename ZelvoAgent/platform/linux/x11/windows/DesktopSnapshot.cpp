#include "platform/linux/x11/windows/DesktopSnapshot.h"

#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/windows/ClientStandings.h"
#include "platform/linux/x11/windows/FocusQuestions.h"

#include <unistd.h>

#include <algorithm>

namespace zelvo {

namespace {

/// The place of each window in a list, the first one's being 1; others have none.
std::map<std::uint32_t, std::size_t> placesIn(std::vector<std::uint32_t> const& windows)
{
    std::map<std::uint32_t, std::size_t> places;
    for (std::size_t i = 0; i < windows.size(); ++i)
        places.emplace(windows[i], i + 1);
    return places;
}

std::size_t
placeOf(std::map<std::uint32_t, std::size_t> const& places, std::uint32_t window, std::size_t other)
{
    auto const found = places.find(window);
    return found == places.end() ? other : found->second;
}

} // namespace

DesktopSnapshot::DesktopSnapshot(X11Connection const& connection, DesktopEntries& entries)
    : connection(connection), survey(surveyWindows(connection)), index(entries.current()),
      windowOwners(survey, *index, ::getpid())
{
}

ClientWindow const* DesktopSnapshot::clientAround(std::uint32_t window) const
{
    // The chain may change on the way, so it needs an end.
    for (int depth = 0; window && window != connection.root() && depth < 4000; ++depth) {
        if (ClientWindow const* const client = windowOwners.find(window))
            return isWindowManagers(*client) ? nullptr : client;
        window = parentOf(connection, window);
    }
    return nullptr;
}

ClientWindow const* DesktopSnapshot::clientInFront() const
{
    std::uint32_t const active = activeWindowOf(connection);
    return clientAround(active ? active : keyboardWindowOf(connection));
}

ApplicationNames DesktopSnapshot::namesAround(ClientWindow const& client) const
{
    for (SurveyedWindow const& window : survey.windows)
        if (window.client.id == client.id || std::ranges::any_of(window.embedded, [&](auto const& inside) {
                return inside.client.id == client.id;
            })) {
            ApplicationNames names = windowOwners.namesOf(client);
            names.hideWith(windowOwners.namesOf(window));
            return names;
        }
    return windowOwners.namesOf(client);
}

std::vector<ClientWindow const*> DesktopSnapshot::clients() const
{
    std::vector<ClientWindow const*> all;
    for (SurveyedWindow const& window : survey.windows) {
        if (!window.windowManagers)
            all.push_back(&window.client);
        for (EmbeddedWindow const& inside : window.embedded)
            all.push_back(&inside.client);
    }
    for (ClientWindow const& client : survey.others)
        all.push_back(&client);
    return all;
}

bool DesktopSnapshot::isWindowManagers(ClientWindow const& client) const
{
    return std::ranges::any_of(survey.windows, [&](SurveyedWindow const& window) {
        return window.windowManagers && window.id == client.id;
    });
}

std::map<std::uint32_t, ClientStanding>
DesktopSnapshot::standings(std::vector<ClientWindow const*> const& clients) const
{
    std::vector<std::uint32_t> ids;
    for (ClientWindow const* const client : clients)
        ids.push_back(client->id);
    return clientStandings(connection, ids);
}

std::vector<OpenWindow> DesktopSnapshot::openWindows() const
{
    std::vector<ClientWindow const*> const all = clients();
    auto const standing = standings(all);
    ManagedWindows const managed = managedWindows(connection);
    auto const ages = placesIn(managed.oldestFirst);
    auto const heights = placesIn(managed.bottomToTop);
    ClientWindow const* const front = clientInFront();
    std::vector<OpenWindow> windows;
    for (ClientWindow const* const client : all) {
        ClientStanding const& its = standing.at(client->id);
        windows.push_back({.id = client->id,
                           .pid = client->pid,
                           .application = windowOwners.application(*client),
                           .isRegular = its.regular,
                           .isMinimized = its.minimised,
                           .isShaded = its.shaded,
                           .isInFront = client == front,
                           .age = placeOf(ages, client->id, ages.size() + 1),
                           .height = placeOf(heights, client->id, 0),
                           .startupId = its.startupId});
    }
    return windows;
}

RunningApplication DesktopSnapshot::processApplication(std::int32_t pid) const
{
    RunningApplication application = zelvo::processApplication(openWindows(), pid, *index);
    application.isRegular = hasOrdinaryWindow(pid);
    return application;
}

/// A window for a person to work in, not only an icon in a tray, a panel or a menu.
bool DesktopSnapshot::hasOrdinaryWindow(std::int32_t pid) const
{
    auto const isOrdinary = [pid](SurveyedWindow const& window) {
        return window.client.pid == pid && !window.overrideRedirect && !window.inputOnly && !window.dock &&
               !window.desktop;
    };
    if (std::ranges::any_of(survey.windows, isOrdinary))
        return true;
    auto const standing = standings(clients());
    return std::ranges::any_of(survey.others, [&](ClientWindow const& client) {
        return client.pid == pid && standing.at(client.id).regular;
    });
}

} // namespace zelvo
