#pragma once

#include <functional>
#include <string>

namespace zelvo {

/// Whether the network can be used to reach a host.
/// Thread: any. Made by: platform/linux/RtnetlinkPath, tests/fakes/FakeNetworkPath.
class NetworkPath {
public:
    virtual ~NetworkPath() = default;
    /// Calls `onUpdate` with whether the path is satisfied, once soon and then at each change of the network,
    /// on the agent executor. A loopback host is always reachable.
    virtual void start(std::string host, std::function<void(bool satisfied)> onUpdate) = 0;
};

} // namespace zelvo
