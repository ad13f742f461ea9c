#include "platform/linux/x11/windows/WindowOwners.h"

#include "platform/linux/applications/ApplicationSearch.h"

namespace zelvo {

WindowOwners::WindowOwners(WindowSurvey const& survey,
                           DesktopEntryIndex const& entries,
                           std::int32_t own,
                           std::function<ProcessFacts(std::int32_t)> const& facts)
    : own(own), readFacts(facts),
      applications(windowApplications(
          survey, entries, own, [this](std::int32_t pid) -> ProcessFacts const& { return factsOf(pid); }))
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

ProcessFacts const& WindowOwners::factsOf(std::int32_t pid) const
{
    auto const found = facts.find(pid);
    return found != facts.end() ? found->second : facts.emplace(pid, readFacts(pid)).first->second;
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
    WindowApplication const& known = applicationAt(client);
    RunningApplication application{
        .pid = client.pid.value_or(0), .names = known.names, .localizedName = known.localizedName};
    if (client.pid) {
        ProcessFacts const& process = factsOf(*client.pid);
        if (process.executable.has_parent_path())
            application.bundlePath = process.executable.parent_path().string();
        application.launchDate = process.started;
    }
    if (known.entry)
        application.location = known.entry->file;
    else if (auto const identifier = known.names.identifier())
        application.location = locationOfRunning(*identifier);
    return application;
}

} // namespace zelvo
