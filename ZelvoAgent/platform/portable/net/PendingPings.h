#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo {

/// The pings that wait to be sent or answered. Each carries a number as its payload; a pong answers the ping
/// of its number and those before it, since a peer may answer only the latest.
class PendingPings {
public:
    using OnPong = std::function<void(bool ok)>;

    void add(OnPong onPong);
    /// The payload of the next ping to send; nothing when all are sent.
    std::optional<std::string> nextToSend();
    /// Who is to be told of a pong, oldest first. None for a pong that answers no ping of ours.
    std::vector<OnPong> answeredBy(std::string_view pongPayload);
    /// All that wait, oldest first; none waits afterwards.
    std::vector<OnPong> takeAll();

private:
    std::deque<OnPong> waiting;
    std::uint64_t firstWaiting = 1; ///< the number of waiting.front()
    std::uint64_t firstUnsent = 1;
};

} // namespace zelvo
