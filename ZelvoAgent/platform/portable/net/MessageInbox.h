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

    /// True when a message that has `bytes` so far may go on growing. An empty inbox takes a message of any
    /// size.
    bool hasRoomFor(std::size_t bytes) const;
    void put(WebSocketMessage message);
    /// The oldest message; nothing when there is none.
    std::optional<WebSocketMessage> take();

private:
    std::deque<WebSocketMessage> messages;
    std::size_t heldBytes = 0;
};

} // namespace zelvo
