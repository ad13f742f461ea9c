#pragma once

#include "platform/Workspace.h"
#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/x11/windows/WindowOwners.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

class X11Connection;
struct ClientStanding;

/// What an application was started with, by which its windows are known even if nothing else tells whose they
/// are.
struct StartMarks {
    std::string startupId;
    std::optional<std::int32_t> session = {}; ///< the process session that it was started in
};

/// An application's window to be brought to the front.
struct ApplicationWindow {
    std::uint32_t id = 0; ///< 0: the application has none
    bool inFront = false; ///< a window of the application is active and to be seen; perhaps another one
};

/// One look at the windows and whose they are. Blocks for some round trips to the server. Thread: one.
class DesktopSnapshot {
public:
    DesktopSnapshot(X11Connection const& connection, DesktopEntries& entries);

    WindowOwners const& owners() const { return windowOwners; }
    DesktopEntryIndex const& entryIndex() const { return *index; }

    /// The client whose window this is, or lies in. None for the window manager's own windows, on which it
    /// keeps the focus when no application is in front.
    ClientWindow const* clientAround(std::uint32_t window) const;
    /// The client in front; none when there is none.
    ClientWindow const* clientInFront() const;
    /// Those of a client, hidden with those of all who share its window on the screen: what is typed there
    /// may reach any of them.
    ApplicationNames namesAround(ClientWindow const& client) const;
    /// Every client's window but the window manager's own.
    std::vector<ClientWindow const*> clients() const;

    /// See Workspace::application().
    std::optional<RunningApplication> applicationOf(std::int32_t pid) const;
    /// The same, also for a process without windows, and with `isRegular`.
    RunningApplication processApplication(std::int32_t pid) const;
    /// See Workspace::runningApplications().
    std::vector<RunningApplication> applications() const;
    /// See Workspace::bundle().
    std::optional<ApplicationBundle> bundle(std::string const& location) const;
    /// The window that was active last, as far as the window manager's order tells: one that is to be seen
    /// before a minimised one, then that nearest to the front. started: null when it was not started just
    /// now.
    ApplicationWindow windowOf(std::string const& location, StartMarks const* started) const;

private:
    bool isWindowManagers(ClientWindow const& client) const;
    bool hasOrdinaryWindow(std::int32_t pid) const;
    std::map<std::uint32_t, ClientStanding> standings() const;
    bool belongs(ClientWindow const& client,
                 ClientStanding const& standing,
                 std::string const& location,
                 StartMarks const* started) const;

    X11Connection const& connection;
    WindowSurvey survey;
    std::shared_ptr<DesktopEntryIndex const> index;
    WindowOwners windowOwners;
};

} // namespace zelvo
