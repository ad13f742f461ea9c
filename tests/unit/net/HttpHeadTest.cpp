#include "platform/portable/net/HttpHead.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

TEST(HttpHead, endsWithTheFirstEmptyLine)
{
    EXPECT_EQ(headLength("HTTP/1.1 200 OK\r\n\r\nbody\r\n\r\n"), 19U);
    EXPECT_EQ(headLength("HTTP/1.1 200 OK\r\n"), std::nullopt);
    EXPECT_EQ(headLength(""), std::nullopt);
}

TEST(HttpHead, readsTheStatus)
{
    EXPECT_EQ(statusOfHead("HTTP/1.1 101 Switching Protocols\r\n\r\n"), 101);
    EXPECT_EQ(statusOfHead("HTTP/1.0 426 \r\n\r\n"), 426);
    EXPECT_EQ(statusOfHead("HTTP/1.1 401\r\n\r\n"), 401);
}

TEST(HttpHead, hasNoStatusWhereThereIsNoStatusLine)
{
    for (char const* const head :
         {"", "HTTP/1.1", "HTTP/1.1 ", "HTTP/1.1 10", "HTTP/2 200 OK", "HTTP/1.1 abc", "HTTP/1.1 -10",
          "HTTP/1.1 099", "HTTP/1.1  20", "GET / HTTP/1.1"})
        EXPECT_EQ(statusOfHead(head), std::nullopt) << head;
}

} // namespace

} // namespace zelvo
