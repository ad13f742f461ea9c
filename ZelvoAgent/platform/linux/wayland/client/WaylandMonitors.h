#pragma once

#include "base/Contexts.h"
#include "platform/linux/wayland/MonitorLayout.h"
#include "platform/linux/wayland/client/WaylandClient.h"
#include "platform/linux/wayland/client/WaylandEvents.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// Puts the main monitor first: the one of that name, else the one at the compositor's (0, 0), else the
/// leftmost.
MonitorLayout layoutOf(std::vector<Monitor> monitors, std::string const& main);

/// The current monitors, kept up to date by the compositor's events. Thread: any.
class WaylandMonitors {
public:
    /// The connector of the main monitor; empty if it is unknown. Called on the agent, and must not wait.
    using MainName = std::function<std::string()>;

    /// Reads the monitors once, which blocks for a moment.
    /// client    a connection that nothing else reads; null: there is no monitor
    /// mainName  a further source, for compositors that do not name the main output in their protocol
    WaylandMonitors(Contexts contexts, std::shared_ptr<WaylandClient> client, MainName mainName = {});
    ~WaylandMonitors();
    WaylandMonitors(WaylandMonitors const&) = delete;
    WaylandMonitors& operator=(WaylandMonitors const&) = delete;

    /// Takes a lock only. The last known one after the compositor is lost.
    MonitorLayout current() const;
    /// Called on the main executor after a change. Added at start and never removed.
    void observe(std::function<void()> observer);
    /// Asks `mainName` again, soon.
    void refresh();

private:
    struct State;
    std::shared_ptr<State> state;
    std::optional<WaylandEvents> events;
};

} // namespace zelvo
