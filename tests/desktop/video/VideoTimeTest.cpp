#include "platform/portable/video/VideoTime.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(VideoTime, isExactForMillisecondsAndEighths)
{
    EXPECT_EQ(videoTicks(0ms), 0);
    EXPECT_EQ(videoTicks(1ms), 90);
    EXPECT_EQ(videoTicks(125ms), 11250);
    EXPECT_EQ(videoTicks(24h), std::int64_t{24} * 3600 * videoTicksPerSecond);
}

TEST(VideoTime, roundsToTheNearest)
{
    EXPECT_EQ(videoTicks(5us), 0);
    EXPECT_EQ(videoTicks(6us), 1);
    EXPECT_EQ(videoTicks(-6us), -1);
    EXPECT_EQ(videoTicks(16us), 1);
    EXPECT_EQ(videoTicks(17us), 2);
}

} // namespace
} // namespace zelvo
