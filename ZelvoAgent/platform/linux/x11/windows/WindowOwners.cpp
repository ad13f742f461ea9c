#include "platform/linux/x11/windows/WindowOwners.h"

#include <ranges>
#include <utility>

namespace zelvo {

namespace {

ClientWindows clientsOf(WindowSurvey const& survey)
{
    ClientWindows clients;
    // The last active one first, as far as the order of the windows says.
    for (SurveyedWindow const& window : std::views::reverse(survey.windows)) {
        clients.lastActiveFirst.push_back(&window.client);
        for (EmbeddedWindow const& inside : window.embedded)
            clients.lastActiveFirst.push_back(&inside.client);
    }
    for (ClientWindow const& other : std::views::reverse(survey.others))
        clients.lastActiveFirst.push_back(&other);
    for (ClientWindow const& leader : survey.leaders)
        clients.leaders.push_back(&leader);
    return clients;
}

} // namespace

WindowOwners::WindowOwners(WindowSurvey const& survey,
                           DesktopEntryIndex const& entries,
                           std::int32_t own,
                           KnownProcesses::Read facts)
    : own(own), processes(std::move(facts)),
      applications(windowApplications(clientsOf(survey), entries, own, processes))
{
    for (SurveyedWindow const& window : survey.windows) {
        byWindow.emplace(window.client.id, &window.client);
        byWindow.emplace(window.id, &window.client);
        if (window.hasUnknownInside)
            applications.at(window.client.id).names.isHiddenWithAny = true;
        for (EmbeddedWindow const& inside : window.embedded)
            byWindow.emplace(inside.client.id, &inside.client);
    }
    for (ClientWindow const& other : survey.others)
        byWindow.emplace(other.id, &other);
}

ClientWindow const* WindowOwners::find(std::uint32_t window) const
{
    auto const found = byWindow.find(window);
    return found == byWindow.end() ? nullptr : found->second;
}

WindowApplication const& WindowOwners::applicationAt(ClientWindow const& client) const
{
    static WindowApplication const unknown;
    auto const found = applications.find(client.id);
    return found == applications.end() ? unknown : found->second;
}

ApplicationNames const& WindowOwners::namesOf(ClientWindow const& client) const
{
    return applicationAt(client).names;
}

ApplicationNames WindowOwners::namesOf(SurveyedWindow const& window) const
{
    ApplicationNames names = namesOf(window.client);
    for (EmbeddedWindow const& inside : window.embedded)
        names.hideWith(namesOf(inside.client));
    return names;
}

RunningApplication WindowOwners::application(ClientWindow const& client) const
{
    return runningApplication(applicationAt(client), client, processes);
}

} // namespace zelvo
