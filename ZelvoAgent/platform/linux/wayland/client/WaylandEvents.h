#pragma once

#include "base/Contexts.h"
#include "platform/linux/wayland/client/WaylandClient.h"

#include <functional>
#include <memory>

namespace zelvo {

/// Reads a connection on the agent's thread, where its listeners then run; it sleeps while nothing arrives.
/// Thread: created and destroyed anywhere.
class WaylandEvents {
public:
    /// kept  what the listeners use, with the objects of the connection; it is let go on the agent, after the
    ///       last listener ran
    /// lost  called once on the agent, when the compositor is gone or has ended the connection; may be empty.
    /// It
    ///       may still run while this object is destroyed, so it must share ownership of what it uses.
    WaylandEvents(Contexts const& contexts,
                  std::shared_ptr<WaylandClient> client,
                  std::shared_ptr<void> kept,
                  std::function<void()> lost = {});
    ~WaylandEvents();
    WaylandEvents(WaylandEvents const&) = delete;
    WaylandEvents& operator=(WaylandEvents const&) = delete;

    /// Makes requests on the agent and sends them. They must share ownership of what they use.
    void request(std::function<void()> requests);

private:
    struct Loop;
    std::shared_ptr<Loop> loop;
};

} // namespace zelvo
