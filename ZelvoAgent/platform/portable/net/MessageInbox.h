#pragma once

#include "platform/WebSocket.h"

#include <cstddef>
#include <deque>
#include <optional>

namespace zelvo {

/// Complete messages that wait for their receiver, in order of arrival. It is full at 64 messages or 320 MiB.
class MessageInbox {
public:
    static constexpr std::size_t maxMessages = 64;
    static constexpr std::size_t maxBytes = std::size_t{320} << 20;

    /// True if a message with `bytes` so far may grow further. An empty inbox accepts a message of any size.
    bool hasRoomFor(std::size_t bytes) const;
    void put(WebSocketMessage message);
    /// The oldest message; `nullopt` if there is none.
    std::optional<WebSocketMessage> take();

private:
    std::deque<WebSocketMessage> messages;
    std::size_t heldBytes = 0;
};

} // namespace zelvo
