#include "platform/linux/x11/windows/WindowApplications.h"

#include <map>
#include <ranges>
#include <set>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

using Basis = ApplicationIdentity::Basis;

/// A window while its application is looked for.
struct Candidate {
    ClientWindow const* client = nullptr;
    ApplicationIdentity identity; ///< by what it says itself
    bool isOwn = false;
    bool isLeader = false;             ///< never active, since it is on no screen
    Candidate const* source = nullptr; ///< whose application it belongs to; itself at most
    bool isGuessed = false;            ///< by its process alone
};

class Decision {
public:
    using Facts = std::function<ProcessFacts const&(std::int32_t)>;
    using Applications = std::unordered_map<std::uint32_t, WindowApplication>;

    Decision(WindowSurvey const& survey,
             DesktopEntryIndex const& entries,
             std::int32_t own,
             Facts const& facts)
    {
        auto const note = [&](ClientWindow const& client, bool isLeader = false) {
            candidates.push_back({.client = &client,
                                  .identity = identityOf(client, entries, own, facts),
                                  .isOwn = client.pid == own,
                                  .isLeader = isLeader});
        };
        // The last active one first, as far as the order of the windows tells.
        for (SurveyedWindow const& window : std::views::reverse(survey.windows)) {
            note(window.client);
            for (EmbeddedWindow const& inside : window.embedded)
                note(inside.client);
        }
        for (ClientWindow const& other : std::views::reverse(survey.others))
            note(other);
        for (ClientWindow const& leader : survey.leaders)
            note(leader, true);
        for (Candidate& candidate : candidates)
            byWindow.emplace(candidate.client->id, &candidate);
    }

    Applications take()
    {
        for (Candidate& candidate : candidates)
            candidate.source = withEntry(candidate);
        chooseByProcess();
        for (Candidate& candidate : candidates)
            if (!candidate.source)
                candidate.source = &withoutEntry(candidate);
        gatherNames();
        Applications applications;
        for (Candidate const& candidate : candidates)
            applications.emplace(candidate.client->id, applicationOf(candidate));
        return applications;
    }

private:
    /// An application in a process, by that and its identifier.
    using Key = std::pair<std::int32_t, std::string>;

    static ApplicationIdentity identityOf(ClientWindow const& client,
                                          DesktopEntryIndex const& entries,
                                          std::int32_t own,
                                          Facts const& facts)
    {
        ApplicationIdentity identity =
            identifyApplication(client.words, client.pid ? facts(*client.pid) : ProcessFacts{}, entries);
        if (client.pid != own)
            return identity;
        identity.names = {{ownBundleIdentifier}};
        identity.basis = Basis::entry;
        identity.entry = entries.find(ownBundleIdentifier);
        if (identity.entry)
            identity.localizedName = identity.entry->name;
        return identity;
    }

    /// None for this program's windows: no other process's are its own.
    Candidate const* related(std::uint32_t window) const
    {
        auto const found = byWindow.find(window);
        return found == byWindow.end() || found->second->isOwn ? nullptr : found->second;
    }

    /// The window that gives it an application with an entry: itself, or one that it names.
    Candidate const* withEntry(Candidate const& candidate) const
    {
        std::set<std::uint32_t> seen;
        return withEntry(candidate, seen);
    }

    Candidate const* withEntry(Candidate const& candidate, std::set<std::uint32_t>& seen) const
    {
        if (candidate.identity.basis == Basis::entry)
            return &candidate;
        seen.insert(candidate.client->id);
        for (std::uint32_t const window : {candidate.client->transientFor, candidate.client->leader})
            if (Candidate const* const other = related(window); other && !seen.contains(window))
                if (Candidate const* const found = withEntry(*other, seen))
                    return found;
        return nullptr;
    }

    /// Gives the windows that are left the application of their process's last active window that has one.
    void chooseByProcess()
    {
        std::map<std::int32_t, Candidate const*> lastActive;
        for (Candidate const& candidate : candidates)
            if (candidate.source && candidate.client->pid && !candidate.isLeader)
                lastActive.emplace(*candidate.client->pid, candidate.source);
        for (Candidate& candidate : candidates) {
            if (candidate.source || !candidate.client->pid)
                continue;
            if (auto const found = lastActive.find(*candidate.client->pid); found != lastActive.end()) {
                candidate.source = found->second;
                candidate.isGuessed = true;
            }
        }
    }

    /// The same where no window of the process has an entry of its own.
    Candidate const& withoutEntry(Candidate const& candidate) const
    {
        Candidate const& root = rootOf(candidate);
        if (root.identity.basis >= Basis::words)
            return root;
        if (Candidate const* const leader = related(root.client->leader);
            leader && leader->identity.basis >= Basis::words)
            return *leader;
        if (root.client->pid)
            for (Candidate const& other : candidates)
                if (other.client->pid == root.client->pid && other.identity.basis >= Basis::words)
                    return other;
        return root;
    }

    /// The last of the windows that it is transient for, one after the other; itself where they form a
    /// circle.
    Candidate const& rootOf(Candidate const& candidate) const
    {
        std::set<std::uint32_t> seen;
        Candidate const* root = &candidate;
        while (Candidate const* const next = related(root->client->transientFor)) {
            if (!seen.insert(root->client->id).second)
                return candidate;
            root = next;
        }
        return *root;
    }

    static Key keyOf(Candidate const& candidate)
    {
        return {candidate.client->pid.value_or(0),
                candidate.source->identity.names.identifier().value_or("")};
    }

    void gatherNames()
    {
        for (Candidate const& candidate : candidates) {
            ApplicationNames names = candidate.source->identity.names;
            if (!candidate.isOwn)
                names.add(candidate.identity.names);
            if (!candidate.client->pid) {
                namesByWindow[candidate.client->id] = std::move(names);
                continue;
            }
            Key const key = keyOf(candidate);
            namesByKey[key].add(names);
            keysByProcess[key.first].insert(key);
        }
    }

    ApplicationNames const& namesOf(Candidate const& candidate) const
    {
        return candidate.client->pid ? namesByKey.at(keyOf(candidate))
                                     : namesByWindow.at(candidate.client->id);
    }

    WindowApplication applicationOf(Candidate const& candidate) const
    {
        WindowApplication application{.names = namesOf(candidate),
                                      .localizedName = candidate.source->identity.localizedName,
                                      .entry = candidate.source->identity.entry};
        application.names.hideWith(namesOf(*candidate.source));
        std::set<std::uint32_t> seen{candidate.client->id};
        auto target = byWindow.find(candidate.client->transientFor);
        while (target != byWindow.end() && seen.insert(target->first).second) {
            application.names.hideWith(namesOf(*target->second));
            target = byWindow.find(target->second->client->transientFor);
        }
        if (candidate.isGuessed)
            for (Key const& key : keysByProcess.at(*candidate.client->pid))
                application.names.hideWith(namesByKey.at(key));
        return application;
    }

    std::vector<Candidate> candidates; // The last active ones first.
    std::unordered_map<std::uint32_t, Candidate const*> byWindow;
    std::map<Key, ApplicationNames> namesByKey;
    std::map<std::int32_t, std::set<Key>> keysByProcess;
    std::unordered_map<std::uint32_t, ApplicationNames> namesByWindow; // of windows of unknown processes
};

} // namespace

std::unordered_map<std::uint32_t, WindowApplication>
windowApplications(WindowSurvey const& survey,
                   DesktopEntryIndex const& entries,
                   std::int32_t own,
                   std::function<ProcessFacts const&(std::int32_t)> const& facts)
{
    return Decision(survey, entries, own, facts).take();
}

} // namespace zelvo
