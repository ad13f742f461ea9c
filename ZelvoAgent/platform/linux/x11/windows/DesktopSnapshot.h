#pragma once

#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/applications/OpenWindows.h"
#include "platform/linux/x11/windows/WindowOwners.h"

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace zelvo {

class X11Connection;
struct ClientStanding;

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

    /// The same with whose they are and their places among the others.
    std::vector<OpenWindow> openWindows() const;
    /// The application of a process, also of one without windows, and with `isRegular`.
    RunningApplication processApplication(std::int32_t pid) const;

private:
    bool isWindowManagers(ClientWindow const& client) const;
    bool hasOrdinaryWindow(std::int32_t pid) const;
    std::map<std::uint32_t, ClientStanding> standings(std::vector<ClientWindow const*> const& clients) const;

    X11Connection const& connection;
    WindowSurvey survey;
    std::shared_ptr<DesktopEntryIndex const> index;
    WindowOwners windowOwners;
};

} // namespace zelvo
