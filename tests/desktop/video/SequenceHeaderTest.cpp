#include "platform/portable/video/SequenceHeader.h"

#include <gtest/gtest.h>

#include <vector>

namespace zelvo {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(SequenceHeader, isFoundBehindStartCodes)
{
    EXPECT_EQ(profileOf(Bytes{0, 0, 0, 1, 0x67, 100, 0, 31}), 100);
    EXPECT_EQ(profileOf(Bytes{0, 0, 1, 0x67, 66, 0xc0, 31}), 66);
    EXPECT_EQ(profileOf(Bytes{0, 0, 0, 1, 9, 0xf0, 0, 0, 0, 1, 0x27, 77, 0, 31}), 77);
}

TEST(SequenceHeader, isFoundInTheContainersForm)
{
    EXPECT_EQ(profileOf(Bytes{1, 100, 0, 31, 0xff, 0xe1}), 100);
}

TEST(SequenceHeader, isNothingInAnythingElse)
{
    EXPECT_EQ(profileOf({}), std::nullopt);
    EXPECT_EQ(profileOf(Bytes{1}), std::nullopt);
    EXPECT_EQ(profileOf(Bytes{0, 0, 0, 1, 0x67}), std::nullopt);
    EXPECT_EQ(profileOf(Bytes{0, 0, 0, 1, 0x68, 100, 0, 31}), std::nullopt);
}

} // namespace
} // namespace zelvo
