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
    /// Takes the connection of the one that echoes or answers. Throws std::runtime_error when none comes.
    void accept();
    /// Waits for a message.
    std::string_view receive();
    /// The message that came last; good until the next one is waited for.
    std::string_view received() const;
    /// Sends a text and waits for what comes back; gives its size.
    std::size_t roundTrip(std::string const& text);
    /// Sends a text and pings all the time until a message comes; gives the longest that a ping was
    /// unanswered, in milliseconds.
    double roundTripUnderPings(std::string const& text);

private:
    struct State;
    std::unique_ptr<State> state;
};

/// The baseline: Beast and nothing else, asynchronous on a thread of its own, sending back what it reads.
class BareEcho {
public:
    explicit BareEcho(std::uint16_t port);
    ~BareEcho();

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace zelvo
