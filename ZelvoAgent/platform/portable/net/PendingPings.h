#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The pings that wait to be sent or answered. Each has a number as its payload; a pong answers the ping with
/// its number and all before it, because a peer may answer only the latest.
class PendingPings {
public:
    using OnPong = std::function<void(bool ok)>;

    void add(OnPong onPong);
    /// The payload of the next ping to send; `nullopt` if all are sent.
    std::optional<std::string> nextToSend();
    /// The callbacks of the pings that a pong answers, oldest first; empty if it answers none of ours.
    std::vector<OnPong> answeredBy(std::string_view pongPayload);
    /// Removes and returns the callbacks of all pings, oldest first.
    std::vector<OnPong> takeAll();

private:
    std::deque<OnPong> waiting;
    std::uint64_t firstWaiting = 1; ///< the number of waiting.front()
    std::uint64_t firstUnsent = 1;
};

} // namespace zelvo
