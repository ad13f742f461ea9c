#include "platform/linux/net/MessageInbox.h"

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
    for (std::size_t i = 0; i < MessageInbox::mostMessages; ++i) {
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
    EXPECT_TRUE(inbox.hasRoomFor(2 * MessageInbox::mostBytes));
    inbox.put({WebSocketMessage::Kind::text, std::string(1000, 'a')});

    EXPECT_TRUE(inbox.hasRoomFor(MessageInbox::mostBytes - 1001));
    EXPECT_FALSE(inbox.hasRoomFor(MessageInbox::mostBytes - 1000));
    inbox.take();
    EXPECT_TRUE(inbox.hasRoomFor(MessageInbox::mostBytes));
}

} // namespace

} // namespace zelvo
