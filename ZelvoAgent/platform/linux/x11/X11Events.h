#pragma once

#include "base/Contexts.h"
#include "platform/linux/x11/X11Connection.h"

#include <functional>
#include <memory>

namespace zelvo {

/// Reports on the agent's thread when a connection may have events; it sleeps while there are none. Thread:
/// created and destroyed anywhere.
class X11Events {
public:
    /// arrived  called on the agent's thread; takes events until there are none and must not wait for the
    ///          server. It may still run once while this object is destroyed, so it must share ownership of
    ///          what it uses.
    X11Events(Contexts const& contexts,
              std::shared_ptr<X11Connection> connection,
              std::function<void()> arrived);
    X11Events(Contexts const& contexts,
              std::shared_ptr<xcb_connection_t> connection,
              std::function<void()> arrived);
    /// Discards all events of a connection that needs none.
    X11Events(Contexts const& contexts, std::shared_ptr<X11Connection> const& connection);
    ~X11Events();
    X11Events(X11Events const&) = delete;
    X11Events& operator=(X11Events const&) = delete;

private:
    struct Loop;
    std::shared_ptr<Loop> loop;
};

} // namespace zelvo
