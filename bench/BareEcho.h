#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace zelvo {

/// The gateway's end of a measured connection: blocking Beast on the caller's thread.
class EchoDriver {
public:
    EchoDriver();
    ~EchoDriver();

    std::uint16_t port() const;
    /// Takes the connection of the one that echoes.
    void accept();
    /// Sends a text and waits for what comes back; gives its size.
    std::size_t roundTrip(std::string const& text);

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
