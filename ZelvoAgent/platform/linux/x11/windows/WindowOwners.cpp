#include "platform/linux/x11/windows/WindowOwners.h"

#include "platform/linux/applications/DesktopEntries.h"

#include <algorithm>

namespace zelvo {

WindowOwners::WindowOwners(WindowSurvey const& survey,
                           DesktopEntryIndex const& entries,
                           std::int32_t own,
                           std::function<ProcessFacts(std::int32_t)> const& facts)
    : entries(entries), own(own), readFacts(facts)
{
    auto const note = [&](ClientWindow const& client, std::uint32_t frame) {
        byWindow.emplace(client.id, &client);
        byWindow.emplace(frame, &client);
        auto& words = byProcess[client.pid.value_or(0)];
        if (client.pid && std::ranges::find(words, client.words) == words.end())
            words.push_back(client.words);
    };
    for (SurveyedWindow const& window : survey.windows) {
        note(window.client, window.id);
        for (EmbeddedWindow const& inside : window.embedded)
            note(inside.client, inside.client.id);
    }
    for (ClientWindow const& other : survey.others)
        note(other, other.id);
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

std::vector<WindowWords> WindowOwners::wordsOf(ClientWindow const& client) const
{
    std::vector<WindowWords> words{client.words};
    auto const process = byProcess.find(client.pid.value_or(0));
    if (client.pid && process != byProcess.end())
        for (WindowWords const& other : process->second)
            if (other != client.words)
                words.push_back(other);
    return words;
}

ApplicationNames WindowOwners::ownNames(ClientWindow const& client) const
{
    if (isOwn(client))
        return {{ownBundleIdentifier}};
    return applicationNames(wordsOf(client), client.pid ? factsOf(*client.pid) : ProcessFacts{}, entries);
}

ApplicationNames WindowOwners::namesOf(ClientWindow const& client) const
{
    ApplicationNames names = ownNames(client);
    std::set<std::uint32_t> seen{client.id};
    ClientWindow const* next = find(client.transientFor);
    while (next && seen.insert(next->id).second) {
        append(names, ownNames(*next));
        next = find(next->transientFor);
    }
    return names;
}

ApplicationNames WindowOwners::namesOf(SurveyedWindow const& window) const
{
    ApplicationNames names = namesOf(window.client);
    for (EmbeddedWindow const& inside : window.embedded)
        append(names, namesOf(inside.client));
    return names;
}

std::optional<std::string> WindowOwners::locationOf(ClientWindow const& client) const
{
    ProcessFacts const process = client.pid ? factsOf(*client.pid) : ProcessFacts{};
    DesktopEntry const* const entry =
        isOwn(client) ? entries.find(ownBundleIdentifier) : entryOf(wordsOf(client), process, entries);
    if (entry)
        return entry->file;
    if (!process.executable.is_absolute() || isInterpreter(process.executable))
        return std::nullopt;
    return process.executable.string();
}

RunningApplication WindowOwners::application(ClientWindow const& client) const
{
    RunningApplication application{.pid = client.pid.value_or(0), .names = namesOf(client)};
    ProcessFacts const process = client.pid ? factsOf(*client.pid) : ProcessFacts{};
    if (process.executable.has_parent_path())
        application.bundlePath = process.executable.parent_path().string();
    application.launchDate = process.started;
    application.localizedName = localizedName(application.names, wordsOf(client), process, entries);
    return application;
}

} // namespace zelvo
