#include "platform/linux/x11/windows/DesktopSnapshot.h"

#include "platform/linux/applications/ApplicationSearch.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/windows/ClientStandings.h"
#include "platform/linux/x11/windows/FocusQuestions.h"

#include <unistd.h>

#include <algorithm>
#include <tuple>
#include <utility>

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

/// An application among others while they are collected.
struct Collected {
    RunningApplication application;
    std::size_t place = 0;
};

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

std::map<std::uint32_t, ClientStanding> DesktopSnapshot::standings() const
{
    std::vector<std::uint32_t> ids;
    for (ClientWindow const* const client : clients())
        ids.push_back(client->id);
    return clientStandings(connection, ids);
}

std::vector<RunningApplication> DesktopSnapshot::applications() const
{
    auto const standing = standings();
    auto const places = placesIn(managedWindows(connection).oldestFirst);
    ClientWindow const* const front = clientInFront();
    std::map<std::pair<std::int32_t, std::string>, Collected> found;
    for (ClientWindow const* const client : clients()) {
        RunningApplication application = windowOwners.application(*client);
        auto const identifier = application.names.identifier();
        if (!identifier)
            continue;
        std::size_t const place = placeOf(places, client->id, places.size() + 1);
        auto const [known, isNew] = found.try_emplace({application.pid, *identifier});
        auto& [whole, first] = known->second;
        if (isNew) {
            whole = std::move(application);
            first = place;
        } else {
            whole.names.join(application.names);
            first = std::min(first, place);
        }
        whole.isRegular = whole.isRegular || standing.at(client->id).regular;
        whole.isActive = whole.isActive || client == front;
    }
    std::multimap<std::size_t, RunningApplication> ordered; // Equal ones by process id.
    for (auto& [key, one] : found)
        ordered.emplace(one.place, std::move(one.application));
    std::vector<RunningApplication> applications;
    for (auto& [place, application] : ordered)
        applications.push_back(std::move(application));
    return applications;
}

std::optional<RunningApplication> DesktopSnapshot::applicationOf(std::int32_t pid) const
{
    auto const places = placesIn(managedWindows(connection).bottomToTop);
    std::optional<RunningApplication> application;
    ApplicationNames all;
    std::size_t best = 0;
    for (ClientWindow const* const client : clients()) {
        if (client->pid != pid)
            continue;
        all.hideWith(windowOwners.namesOf(*client));
        std::size_t const place = placeOf(places, client->id, 0);
        if (!application || place > best) {
            application = windowOwners.application(*client);
            best = place;
        }
    }
    if (application)
        application->names.hideWith(all);
    return application;
}

RunningApplication DesktopSnapshot::processApplication(std::int32_t pid) const
{
    RunningApplication application{.pid = pid};
    if (auto known = applicationOf(pid)) {
        application = *std::move(known);
    } else {
        ProcessFacts const process = readProcessFacts(pid);
        application.names = identifyApplication({}, process, *index).names;
        application.launchDate = process.started;
    }
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
    auto const standing = standings();
    return std::ranges::any_of(survey.others, [&](ClientWindow const& client) {
        return client.pid == pid && standing.at(client.id).regular;
    });
}

std::optional<ApplicationBundle> DesktopSnapshot::bundle(std::string const& location) const
{
    std::optional<ApplicationBundle> bundle;
    if (DesktopEntry const* const entry = entryAt(*index, location))
        bundle = {
            .identifier = entry->id, .localizedName = entry->name, .names = namesOfEntry(*entry, *index)};
    for (RunningApplication const& application : applications()) {
        if (application.location != location)
            continue;
        if (bundle)
            bundle->names.add(application.names);
        else
            bundle = {.identifier = application.names.identifier().value_or(""),
                      .localizedName = application.localizedName,
                      .names = application.names};
    }
    return bundle;
}

bool DesktopSnapshot::belongs(ClientWindow const& client,
                              ClientStanding const& standing,
                              std::string const& location,
                              StartMarks const* started) const
{
    if (windowOwners.application(client).location == location)
        return true;
    if (!started)
        return false;
    return standing.startupId == started->startupId ||
           (started->session && client.pid && ::getsid(*client.pid) == *started->session);
}

ApplicationWindow DesktopSnapshot::windowOf(std::string const& location, StartMarks const* started) const
{
    auto const standing = standings();
    auto const places = placesIn(managedWindows(connection).bottomToTop);
    ClientWindow const* const front = clientInFront();
    ApplicationWindow best;
    std::tuple<bool, std::size_t> bestPlace;
    for (ClientWindow const* const client : clients()) {
        ClientStanding const& its = standing.at(client->id);
        if (!belongs(*client, its, location, started))
            continue;
        best.inFront = best.inFront || (client == front && !its.shaded);
        std::tuple const place(!its.minimised, placeOf(places, client->id, 0));
        if (its.regular && (!best.id || place > bestPlace)) {
            best.id = client->id;
            bestPlace = place;
        }
    }
    return best;
}

} // namespace zelvo
