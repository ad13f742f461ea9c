#include "platform/linux/wayland/windows/WindowOwnership.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace zelvo {

namespace {

/// The numbers of windows here are their places in the list, from 1 on.
std::uint32_t numberAt(std::size_t place)
{
    return static_cast<std::uint32_t>(place + 1);
}

} // namespace

WindowOwnership::WindowOwnership(WindowsNow const& now,
                                 DesktopEntryIndex const& entries,
                                 std::int32_t own,
                                 KnownProcesses::Read facts)
    : own(own), processes(std::move(facts))
{
    for (std::size_t i = 0; i < now.windows.size(); ++i)
        places.emplace(now.windows[i].id, i);
    for (CompositorWindow const& window : now.windows) {
        auto const parent = places.find(window.parent);
        clients.push_back({.id = numberAt(clients.size()),
                           .pid = window.pid,
                           .words = window.words,
                           .transientFor = parent == places.end() ? 0 : numberAt(parent->second),
                           .isPopup = window.kind == CompositorWindow::Kind::popup});
    }
    applications = windowApplications(lastActiveFirst(now), entries, own, processes);
}

ClientWindows WindowOwnership::lastActiveFirst(WindowsNow const& now) const
{
    ClientWindows ordered;
    for (ClientWindow const& client : clients)
        ordered.lastActiveFirst.push_back(&client);
    // What is minimised was active before anything that is not.
    std::ranges::sort(ordered.lastActiveFirst, std::greater<>(), [&](ClientWindow const* client) {
        CompositorWindow const& window = now.windows[client->id - 1];
        return std::tuple(window.isActive, !window.isMinimized, client->id);
    });
    return ordered;
}

ClientWindow const* WindowOwnership::find(CompositorWindow const& window) const
{
    auto const place = places.find(window.id);
    return place == places.end() ? nullptr : &clients[place->second];
}

ApplicationNames WindowOwnership::namesOf(CompositorWindow const& window) const
{
    ClientWindow const* const client = find(window);
    return client ? applications.at(client->id).names
                  : ApplicationNames{.names = {}, .isHiddenWithAny = true};
}

RunningApplication WindowOwnership::application(CompositorWindow const& window) const
{
    ClientWindow const* const client = find(window);
    if (!client)
        return {.names = namesOf(window)};
    return runningApplication(applications.at(client->id), *client, processes);
}

} // namespace zelvo
