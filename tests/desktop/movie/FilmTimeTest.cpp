#include "platform/linux/movie/FilmTime.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(FilmTime, isExactForMillisecondsAndEighths)
{
    EXPECT_EQ(filmTicks(0ms), 0);
    EXPECT_EQ(filmTicks(1ms), 90);
    EXPECT_EQ(filmTicks(125ms), 11250);
    EXPECT_EQ(filmTicks(24h), std::int64_t{24} * 3600 * filmTicksPerSecond);
}

TEST(FilmTime, roundsToTheNearest)
{
    EXPECT_EQ(filmTicks(5us), 0);
    EXPECT_EQ(filmTicks(6us), 1);
    EXPECT_EQ(filmTicks(-6us), -1);
    EXPECT_EQ(filmTicks(16us), 1);
    EXPECT_EQ(filmTicks(17us), 2);
}

} // namespace
} // namespace zelvo
