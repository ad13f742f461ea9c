#pragma once

#include <functional>
#include <string>

namespace zelvo {

/// Whether the network can reach a host.
/// Thread: any. Made by: platform/linux/system/RtnetlinkPath, tests/fakes/FakeDesktop.h.
class NetworkPath {
public:
    virtual ~NetworkPath() = default;
    /// Calls `onUpdate` on the agent executor, once soon and then at each change of the network. A loopback
    /// host is always reachable.
    virtual void start(std::string host, std::function<void(bool satisfied)> onUpdate) = 0;
};

} // namespace zelvo
