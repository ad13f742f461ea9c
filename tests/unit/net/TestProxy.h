#pragma once

#include "base/Task.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// A proxy on the loopback interface that supports CONNECT. Every tunnel leads to one port of the loopback
/// interface, whatever the requested host.
class TestProxy {
public:
    TestProxy(Executor executor, std::uint16_t target);
    ~TestProxy();

    std::string url(std::string const& userInfo = "") const;
    /// The heads of the requests, in order.
    std::vector<std::string> const& heads() const;
    /// Sets an answer to send instead of opening a tunnel; empty to open tunnels again.
    void refuseWith(std::string answer);

private:
    struct State;
    std::shared_ptr<State> state;
};

} // namespace zelvo
