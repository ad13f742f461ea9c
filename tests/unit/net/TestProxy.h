#pragma once

#include "base/Task.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zelvo {

/// A proxy on the loopback interface that knows CONNECT and leads every tunnel to one port of the loopback
/// interface, whatever host was asked for.
class TestProxy {
public:
    TestProxy(Executor executor, std::uint16_t target);
    ~TestProxy();

    std::string url(std::string const& userInfo = "") const;
    /// The heads of the requests, in order.
    std::vector<std::string> const& heads() const;
    /// What to answer instead of opening a tunnel; empty for tunnels.
    void refuseWith(std::string answer);

private:
    struct State;
    std::shared_ptr<State> state;
};

} // namespace zelvo
