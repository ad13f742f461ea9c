#include "platform/portable/net/MessageInbox.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

TEST(MessageInbox, givesMessagesInOrderAndThenNothing)
{
    MessageInbox inbox;
    inbox.put({WebSocketMessage::Kind::text, "a"});
    inbox.put({WebSocketMessage::Kind::binary, "b"});

    EXPECT_EQ(inbox.take()->payload, "a");
    EXPECT_EQ(inbox.take()->kind, WebSocketMessage::Kind::binary);
    EXPECT_FALSE(inbox.take());
}

TEST(MessageInbox, isFullAtItsMostMessages)
{
    MessageInbox inbox;
    for (std::size_t i = 0; i < MessageInbox::maxMessages; ++i) {
        EXPECT_TRUE(inbox.hasRoomFor(1));
        inbox.put({});
    }

    EXPECT_FALSE(inbox.hasRoomFor(0));
    inbox.take();
    EXPECT_TRUE(inbox.hasRoomFor(0));
}

TEST(MessageInbox, isFullAtItsMostBytesWithTheMessageThatGrows)
{
    MessageInbox inbox;
    EXPECT_TRUE(inbox.hasRoomFor(2 * MessageInbox::maxBytes));
    inbox.put({WebSocketMessage::Kind::text, std::string(1000, 'a')});

    EXPECT_TRUE(inbox.hasRoomFor(MessageInbox::maxBytes - 1001));
    EXPECT_FALSE(inbox.hasRoomFor(MessageInbox::maxBytes - 1000));
    inbox.take();
    EXPECT_TRUE(inbox.hasRoomFor(MessageInbox::maxBytes));
}

} // namespace

} // namespace zelvo
