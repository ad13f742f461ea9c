#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace zelvo {

/// A machine that costs as little as possible: blocking Beast on a separate thread. It answers every frame
/// with the same result.
class BareMachine {
public:
    /// token    of a provisioned machine; empty for a peer that asks for none
    /// result   JSON
    BareMachine(std::uint16_t port, std::string const& token, std::string result);
    /// Drops the socket.
    ~BareMachine();

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace zelvo
