#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace zelvo {

/// The gateway's end of a measured connection: blocking Beast on the caller's thread.
class EchoDriver {
public:
    EchoDriver();
    ~EchoDriver();

    std::uint16_t port() const;
    /// Accepts the peer's connection. Throws std::runtime_error if none arrives.
    void accept();
    /// Waits for a message.
    std::string_view receive();
    /// The last message; valid until the next one is read.
    std::string_view received() const;
    /// Sends a text and waits for the reply; returns its size.
    std::size_t roundTrip(std::string const& text);
    /// Sends a text and constant pings until a message arrives; returns the longest time without a pong, in
    /// milliseconds.
    double roundTripUnderPings(std::string const& text);

private:
    struct State;
    std::unique_ptr<State> state;
};

/// The baseline: plain asynchronous Beast on a separate thread that echoes what it reads.
class BareEcho {
public:
    explicit BareEcho(std::uint16_t port);
    ~BareEcho();

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace zelvo
