#include "ZelvoGateway/http/ByteRange.h"

#include <gtest/gtest.h>

#include <string>

namespace zelvo::service {
namespace {

std::string told(std::string_view header, std::uint64_t size)
{
    ByteRange const range = byteRange(header, size);
    switch (range.kind) {
    case ByteRange::Kind::whole:
        return range.length == size ? "whole" : "broken";
    case ByteRange::Kind::part:
        return std::to_string(range.first) + "+" + std::to_string(range.length);
    case ByteRange::Kind::nothing:
        return "nothing";
    }
    return "";
}

TEST(ByteRange, isAPart)
{
    EXPECT_EQ(told("bytes=0-", 1000), "0+1000");
    EXPECT_EQ(told("bytes=0-0", 1000), "0+1");
    EXPECT_EQ(told("bytes=10-19", 1000), "10+10");
    EXPECT_EQ(told("bytes=999-", 1000), "999+1");
    EXPECT_EQ(told("bytes=990-5000", 1000), "990+10");
    EXPECT_EQ(told("bytes=990-99999999999999999999999", 1000), "990+10");
    EXPECT_EQ(told("bytes=-1", 1000), "999+1");
    EXPECT_EQ(told("bytes=-1000", 1000), "0+1000");
    EXPECT_EQ(told("bytes=-99999999999999999999999", 1000), "0+1000");
    EXPECT_EQ(told("Bytes = 10 - 19 ", 1000), "10+10");
    EXPECT_EQ(told("bytes=5000000000-5000000009", 6'000'000'000), "5000000000+10");
}

TEST(ByteRange, liesBehindTheEnd)
{
    EXPECT_EQ(told("bytes=1000-", 1000), "nothing");
    EXPECT_EQ(told("bytes=1000-2000", 1000), "nothing");
    EXPECT_EQ(told("bytes=99999999999999999999999-", 1000), "nothing");
    EXPECT_EQ(told("bytes=-0", 1000), "nothing");
    EXPECT_EQ(told("bytes=0-", 0), "nothing");
    EXPECT_EQ(told("bytes=-5", 0), "nothing");
}

TEST(ByteRange, isTheWholeWhenItCannotBeRead)
{
    for (char const* const header :
         {"", "bytes", "bytes=", "bytes=-", "bytes=a-", "bytes=1-b", "bytes=-b", "bytes=5-4", "bytes=0-1,3-4",
          "bytes=1", "bytes=+1-2", "bytes=--1", "bytes=1--2", "bytes=0x1-2", "lines=1-2", "=1-2", "bytes 1-2",
          "\xff=1-2", "bytes=1-\xff"})
        EXPECT_EQ(told(header, 1000), "whole") << header;
}

} // namespace
} // namespace zelvo::service
