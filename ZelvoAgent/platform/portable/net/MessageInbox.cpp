#include "platform/portable/net/MessageInbox.h"

namespace zelvo {

bool MessageInbox::hasRoomFor(std::size_t bytes) const
{
    return messages.empty() || (messages.size() < maxMessages && heldBytes + bytes < maxBytes);
}

void MessageInbox::put(WebSocketMessage message)
{
    heldBytes += message.payload.size();
    messages.push_back(std::move(message));
}

std::optional<WebSocketMessage> MessageInbox::take()
{
    if (messages.empty())
        return std::nullopt;
    std::optional<WebSocketMessage> oldest = std::move(messages.front());
    messages.pop_front();
    heldBytes -= oldest->payload.size();
    return oldest;
}

} // namespace zelvo
