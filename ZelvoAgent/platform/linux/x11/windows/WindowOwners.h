#pragma once

#include "platform/linux/applications/WindowApplications.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <cstdint>
#include <unordered_map>

namespace zelvo {

/// Whose the windows of a survey are. Thread: one.
class WindowOwners {
public:
    /// The survey and the entries must outlive this.
    /// own: this program's process id. facts: reads what the system knows of a process.
    WindowOwners(WindowSurvey const& survey,
                 DesktopEntryIndex const& entries,
                 std::int32_t own,
                 KnownProcesses::Read facts = readProcessFacts);

    ApplicationNames const& namesOf(ClientWindow const& client) const;
    /// Those of the window's client, hidden with those of the clients embedded in it, which get its keys.
    ApplicationNames namesOf(SurveyedWindow const& window) const;
    bool isOwn(ClientWindow const& client) const { return client.pid == own; }
    /// The application that a window belongs to, in the window's process.
    RunningApplication application(ClientWindow const& client) const;
    ClientWindow const* find(std::uint32_t window) const;

private:
    WindowApplication const& applicationAt(ClientWindow const& client) const;

    std::int32_t own;
    KnownProcesses processes;
    std::unordered_map<std::uint32_t, ClientWindow const*> byWindow; // frames too
    std::unordered_map<std::uint32_t, WindowApplication> applications;
};

} // namespace zelvo
