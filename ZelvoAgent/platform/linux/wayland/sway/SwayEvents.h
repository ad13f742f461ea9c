#pragma once

#include "base/Contexts.h"

#include <functional>
#include <memory>

namespace zelvo {

/// Reports that something about sway's windows, workspaces or outputs changed. Thread: made and ended
/// anywhere.
class SwayEvents {
public:
    /// changed  called on the agent, once for all events that arrived together. It may still run while this
    ///          object is destroyed, so it must share ownership of what it uses.
    SwayEvents(Contexts const& contexts, std::function<void()> changed);
    ~SwayEvents();
    /// Connects again if sway was lost, which counts as a change. Call it now and then. Thread: any.
    void keepFollowing();
    SwayEvents(SwayEvents const&) = delete;
    SwayEvents& operator=(SwayEvents const&) = delete;

private:
    struct Loop;
    std::shared_ptr<Loop> loop;
};

} // namespace zelvo
