#pragma once

#include "platform/linux/x11/windows/WindowSurvey.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace zelvo {

/// Whose the windows of a survey are, by all the names that hiding goes by: a window's own application, under
/// every name that any of its process's windows gives it, and those of the windows that it is transient for.
/// Thread: one.
class WindowOwners {
public:
    /// own: this program's process id. facts: reads what the system knows of a process.
    WindowOwners(WindowSurvey const& survey,
                 DesktopEntryIndex const& entries,
                 std::int32_t own,
                 std::function<ProcessFacts(std::int32_t)> const& facts = readProcessFacts);

    /// The best first.
    ApplicationNames namesOf(ClientWindow const& client) const;
    /// Those of the window's client, then those of the clients embedded in it, which get its keys.
    ApplicationNames namesOf(SurveyedWindow const& window) const;
    bool isOwn(ClientWindow const& client) const { return client.pid == own; }
    /// The application that a window belongs to, all names included.
    RunningApplication application(ClientWindow const& client) const;
    /// The path of the desktop entry that a window's own application is known by, else of its executable;
    /// nothing when neither is known, or the executable is an interpreter.
    std::optional<std::string> locationOf(ClientWindow const& client) const;
    ClientWindow const* find(std::uint32_t window) const;

private:
    ApplicationNames ownNames(ClientWindow const& client) const; // without those that it is transient for
    std::vector<WindowWords> wordsOf(ClientWindow const& client) const;
    ProcessFacts const& factsOf(std::int32_t pid) const;

    DesktopEntryIndex const& entries;
    std::int32_t own;
    std::function<ProcessFacts(std::int32_t)> readFacts;
    std::unordered_map<std::uint32_t, ClientWindow const*> byWindow;
    std::map<std::int32_t, std::vector<WindowWords>> byProcess;
    mutable std::map<std::int32_t, ProcessFacts> facts;
};

} // namespace zelvo
