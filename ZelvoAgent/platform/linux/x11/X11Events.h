#pragma once

#include "base/Contexts.h"
#include "platform/linux/x11/X11Connection.h"

#include <functional>
#include <memory>

namespace zelvo {

/// Tells when a connection may have events, on the agent's thread; it sleeps while there are none.
/// Thread: made and dropped anywhere.
class X11Events {
public:
    /// arrived: called on the agent's thread; takes events until there are none and must not wait for the
    /// server. It may still run once while this object goes away, so what it touches is held by a shared
    /// pointer of its own.
    X11Events(Contexts const& contexts,
              std::shared_ptr<X11Connection> connection,
              std::function<void()> arrived);
    /// Drops all events, for a connection that waits for none.
    X11Events(Contexts const& contexts, std::shared_ptr<X11Connection> const& connection);
    ~X11Events();
    X11Events(X11Events const&) = delete;
    X11Events& operator=(X11Events const&) = delete;

private:
    struct Loop;
    std::shared_ptr<Loop> loop;
};

} // namespace zelvo
