#include "platform/linux/applications/WindowApplications.h"

#include "platform/linux/applications/ApplicationSearch.h"

#include <map>
#include <optional>
#include <set>
#include <unordered_set>
#include <utility>
#include <vector>

namespace zelvo {

namespace {

using Basis = ApplicationIdentity::Basis;

/// How many windows are asked for the application of one that finds none by itself.
constexpr std::size_t maxAsked = 64;

struct Candidate;

/// Whose application a window belongs to.
struct Choice {
    Candidate const* source = nullptr; ///< itself at most
    /// The process that alone decided: any application in it may be the window's.
    std::optional<std::int32_t> guessedIn = {};
};

/// A window while its application is looked for.
struct Candidate {
    ClientWindow const* client = nullptr;
    ApplicationIdentity identity; ///< by what it says itself
    bool isOwn = false;
    bool isLeader = false; ///< never active, since it is on no screen
    Choice choice = {};
};

class Decision {
public:
    using Applications = std::unordered_map<std::uint32_t, WindowApplication>;

    Decision(ClientWindows const& windows,
             DesktopEntryIndex const& entries,
             std::int32_t own,
             KnownProcesses const& processes)
    {
        auto const note = [&](ClientWindow const& client, bool isLeader) {
            candidates.push_back({.client = &client,
                                  .identity = identityOf(client, entries, own, processes),
                                  .isOwn = client.pid == own,
                                  .isLeader = isLeader});
        };
        for (ClientWindow const* const window : windows.lastActiveFirst)
            note(*window, false);
        for (ClientWindow const* const leader : windows.leaders)
            note(*leader, true);
        for (Candidate& candidate : candidates)
            byWindow.emplace(candidate.client->id, &candidate);
    }

    Applications take()
    {
        for (Candidate& candidate : candidates)
            if (candidate.identity.basis == Basis::entry)
                candidate.choice.source = &candidate;
        chooseWithEntry();
        noteLastActive();
        chooseWithEntry();
        for (Candidate& candidate : candidates)
            if (!candidate.choice.source)
                candidate.choice = withoutEntry(candidate);
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
                                          KnownProcesses const& processes)
    {
        ApplicationIdentity identity = identifyApplication(
            client.words, client.pid ? processes.of(*client.pid) : ProcessFacts{}, entries);
        if (client.pid != own) {
            if (client.isPopup && client.words == WindowWords{} && identity.basis == Basis::entry)
                identity.basis = Basis::sharedProgram;
            return identity;
        }
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

    void chooseWithEntry()
    {
        for (Candidate& candidate : candidates) {
            std::set<std::uint32_t> asked;
            candidate.choice = withEntry(candidate, asked);
        }
    }

    /// The application of the window that it is transient for, else of its leader, else of its process's last
    /// active window, once that is known.
    Choice withEntry(Candidate const& candidate, std::set<std::uint32_t>& asked) const
    {
        if (candidate.choice.source || asked.size() == maxAsked)
            return candidate.choice;
        asked.insert(candidate.client->id);
        for (std::uint32_t const window : {candidate.client->transientFor, candidate.client->leader})
            if (Candidate const* const other = related(window); other && !asked.contains(window))
                if (Choice const found = withEntry(*other, asked); found.source)
                    return found;
        auto const found = candidate.client->pid ? lastActive.find(*candidate.client->pid) : lastActive.end();
        return found == lastActive.end() ? Choice{} : Choice{found->second, found->first};
    }

    /// The last active window of each process that has an application with an entry without a guess.
    void noteLastActive()
    {
        for (Candidate const& candidate : candidates)
            if (candidate.choice.source && candidate.client->pid && !candidate.isLeader)
                lastActive.emplace(*candidate.client->pid, candidate.choice.source);
    }

    /// The same where no window that it has to do with finds an entry.
    Choice withoutEntry(Candidate const& candidate) const
    {
        Candidate const& root = rootOf(&candidate);
        if (root.identity.basis >= Basis::words)
            return {&root};
        if (Candidate const* const leader = related(root.client->leader);
            leader && leader->identity.basis >= Basis::words)
            return {leader};
        if (root.client->pid)
            for (Candidate const& other : candidates)
                if (other.client->pid == root.client->pid && other.identity.basis >= Basis::words)
                    return {&other, root.client->pid};
        return {&root};
    }

    /// The last of the windows that it is transient for, one after the other; itself where they form a
    /// circle.
    Candidate const& rootOf(Candidate const* candidate) const
    {
        std::set<std::uint32_t> seen;
        Candidate const* root = candidate;
        while (Candidate const* const next = related(root->client->transientFor)) {
            if (!seen.insert(root->client->id).second)
                return *candidate;
            root = next;
        }
        return *root;
    }

    static Key keyOf(Candidate const& candidate)
    {
        return {candidate.client->pid.value_or(0),
                candidate.choice.source->identity.names.identifier().value_or("")};
    }

    void gatherNames()
    {
        for (Candidate const& candidate : candidates) {
            ApplicationNames names = candidate.choice.source->identity.names;
            if (!candidate.isOwn)
                names.add(candidate.identity.names);
            if (!candidate.client->pid) {
                namesByWindow[candidate.client->id] = std::move(names);
                continue;
            }
            namesByKey[keyOf(candidate)].add(names);
            windowsByProcess[*candidate.client->pid].push_back(&candidate);
        }
    }

    ApplicationNames const& namesOf(Candidate const& candidate) const
    {
        return candidate.client->pid ? namesByKey.at(keyOf(candidate))
                                     : namesByWindow.at(candidate.client->id);
    }

    WindowApplication applicationOf(Candidate const& candidate) const
    {
        ApplicationIdentity const& identity = candidate.choice.source->identity;
        WindowApplication application{
            .names = namesOf(candidate), .localizedName = identity.localizedName, .entry = identity.entry};
        std::unordered_set<ApplicationNames const*> joined; // Many windows share their names.
        for (Candidate const* const other : hiddenTogether(candidate))
            if (auto const& names = namesOf(*other); joined.insert(&names).second)
                application.names.hideWith(names);
        return application;
    }

    /// The windows that hide this one: that of its application, those that it is transient for, where its
    /// process alone decided all of that, and so on for each of them.
    std::vector<Candidate const*> hiddenTogether(Candidate const& candidate) const
    {
        std::vector<Candidate const*> all;
        std::unordered_set<Candidate const*> seen;
        auto const add = [&](Candidate const* other) {
            if (seen.insert(other).second)
                all.push_back(other);
        };
        add(&candidate);
        for (std::size_t i = 0; i < all.size(); ++i) { // NOLINT(modernize-loop-convert): The loop adds to it.
            Candidate const& each = *all[i];
            add(each.choice.source);
            if (auto const target = byWindow.find(each.client->transientFor); target != byWindow.end())
                add(target->second);
            if (each.choice.guessedIn)
                for (Candidate const* const other : windowsByProcess.at(*each.choice.guessedIn))
                    add(other);
        }
        return all;
    }

    std::vector<Candidate> candidates; // The last active ones first.
    std::unordered_map<std::uint32_t, Candidate const*> byWindow;
    std::map<Key, ApplicationNames> namesByKey;
    std::map<std::int32_t, Candidate const*> lastActive; // by process; whose application that window has
    std::map<std::int32_t, std::vector<Candidate const*>> windowsByProcess;
    std::unordered_map<std::uint32_t, ApplicationNames> namesByWindow; // of windows of unknown processes
};

} // namespace

std::unordered_map<std::uint32_t, WindowApplication> windowApplications(ClientWindows const& windows,
                                                                        DesktopEntryIndex const& entries,
                                                                        std::int32_t own,
                                                                        KnownProcesses const& processes)
{
    return Decision(windows, entries, own, processes).take();
}

RunningApplication runningApplication(WindowApplication const& known,
                                      ClientWindow const& window,
                                      KnownProcesses const& processes)
{
    RunningApplication application{
        .pid = window.pid.value_or(0), .names = known.names, .localizedName = known.localizedName};
    if (window.pid) {
        ProcessFacts const& process = processes.of(*window.pid);
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
