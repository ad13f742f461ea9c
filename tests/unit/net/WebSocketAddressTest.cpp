#include "platform/portable/net/WebSocketAddress.h"

#include "platform/WebSocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {

namespace {

TEST(WebSocketAddress, readsSchemeHostPortAndTarget)
{
    EXPECT_EQ(parseWebSocketAddress("ws://example.org"), (WebSocketAddress{false, "example.org", 80, "/"}));
    EXPECT_EQ(parseWebSocketAddress("wss://example.org/a/b?c=d%20e"),
              (WebSocketAddress{true, "example.org", 443, "/a/b?c=d%20e"}));
    EXPECT_EQ(parseWebSocketAddress("WSS://h:8443/"), (WebSocketAddress{true, "h", 8443, "/"}));
    EXPECT_EQ(parseWebSocketAddress("ws://[::1]:7/x#part"), (WebSocketAddress{false, "::1", 7, "/x"}));
    EXPECT_EQ(parseWebSocketAddress("ws://127.0.0.1:80"), (WebSocketAddress{false, "127.0.0.1", 80, "/"}));
}

TEST(WebSocketAddress, writesAuthorityAndHost)
{
    EXPECT_EQ(parseWebSocketAddress("wss://h").authority(), "h:443");
    EXPECT_EQ(parseWebSocketAddress("wss://h").hostHeader(), "h");
    EXPECT_EQ(parseWebSocketAddress("wss://h:80").hostHeader(), "h:80");
    EXPECT_EQ(parseWebSocketAddress("ws://h:80").hostHeader(), "h");
    EXPECT_EQ(parseWebSocketAddress("ws://[::1]").hostHeader(), "[::1]");
    EXPECT_EQ(parseWebSocketAddress("ws://[::1]:9").authority(), "[::1]:9");
}

TEST(WebSocketAddress, refusesWhatIsNoWebSocketAndDoesNotRepeatIt)
{
    for (char const* const url :
         {"", "/path", "example.org", "http://example.org", "ws:", "ws://", "ws://h:0", "ws://h:65536",
          "ws://h:x", "ws://a%0d%0aX-Secret:%20b/", "ws://a%20b/", "ws://se cret/", "wss://[::1"}) {
        try {
            parseWebSocketAddress(url);
            ADD_FAILURE() << url;
        } catch (NetworkFailure const& failure) {
            EXPECT_EQ(failure.kind, NetworkFailure::Kind::other);
            EXPECT_THAT(failure.description, Not(testing::HasSubstr("cret")));
        }
    }
}

} // namespace

} // namespace zelvo
