#pragma once

#include <cstdint>
#include <memory>

namespace zelvo {

/// The baseline of a gateway: plain asynchronous Beast in a separate process, as a gateway is one. It sends
/// the body of each HTTP request to the WebSocket that connected first, and answers with the message that
/// comes back.
class BareRelay {
public:
    BareRelay();
    ~BareRelay();

    std::uint16_t port() const;

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace zelvo
