#include "platform/linux/input/WheelClicks.h"

#include <gtest/gtest.h>

#include <limits>

namespace zelvo {
namespace {

using Clicks = std::vector<WheelClicks>;

TEST(WheelClicks, countsOneForEach53Pixels)
{
    EXPECT_EQ(wheelClicks({.dy = 53}), (Clicks{{4, 1}}));
    EXPECT_EQ(wheelClicks({.dy = 530}), (Clicks{{4, 10}}));
}

TEST(WheelClicks, roundsHalfAwayFromZero)
{
    EXPECT_EQ(wheelClicks({.dy = 79}), (Clicks{{4, 1}})); // 1.49
    EXPECT_EQ(wheelClicks({.dy = 80}), (Clicks{{4, 2}})); // 1.51
    EXPECT_EQ(wheelClicks({.dy = -80}), (Clicks{{5, 2}}));
    EXPECT_EQ(wheelClicks({.dy = 132}), (Clicks{{4, 2}}));  // 2.49
    EXPECT_EQ(wheelClicks({.dy = -133}), (Clicks{{5, 3}})); // 2.51
}

TEST(WheelClicks, clicksAtLeastOnceForAnyDistance)
{
    EXPECT_EQ(wheelClicks({.dy = 1}), (Clicks{{4, 1}}));
    EXPECT_EQ(wheelClicks({.dx = -1}), (Clicks{{7, 1}}));
}

TEST(WheelClicks, makesNothingOfNoDistance)
{
    EXPECT_TRUE(wheelClicks({}).empty());
}

TEST(WheelClicks, knowsItsDirections)
{
    EXPECT_EQ(wheelClicks({.dy = 53, .dx = 53}), (Clicks{{4, 1}, {6, 1}}));
    EXPECT_EQ(wheelClicks({.dy = -53, .dx = -53}), (Clicks{{5, 1}, {7, 1}}));
}

TEST(WheelClicks, clicksAtMost200Times)
{
    EXPECT_EQ(wheelClicks({.dy = 53 * 200}), (Clicks{{4, 200}}));
    EXPECT_EQ(wheelClicks({.dy = 53 * 201}), (Clicks{{4, 200}}));
    EXPECT_EQ(wheelClicks({.dx = std::numeric_limits<std::int32_t>::min()}), (Clicks{{7, 200}}));
}

TEST(WheelClicks, sharesThe200BetweenBothDirections)
{
    constexpr auto least = std::numeric_limits<std::int32_t>::min();
    constexpr auto most = std::numeric_limits<std::int32_t>::max();

    EXPECT_EQ(wheelClicks({.dy = 53 * 100, .dx = 53 * 100}), (Clicks{{4, 100}, {6, 100}}));
    EXPECT_EQ(wheelClicks({.dy = 53 * 200, .dx = 53 * 200}), (Clicks{{4, 100}, {6, 100}}));
    EXPECT_EQ(wheelClicks({.dy = 53 * 300, .dx = 53 * 100}), (Clicks{{4, 150}, {6, 50}}));
    EXPECT_EQ(wheelClicks({.dy = least, .dx = most}), (Clicks{{5, 100}, {6, 100}}));
}

TEST(WheelClicks, leavesTheSmallerDirectionAtLeastOneClick)
{
    constexpr auto most = std::numeric_limits<std::int32_t>::max();

    EXPECT_EQ(wheelClicks({.dy = 1, .dx = most}), (Clicks{{4, 1}, {6, 199}}));
    EXPECT_EQ(wheelClicks({.dy = most, .dx = -1}), (Clicks{{4, 199}, {7, 1}}));
}

} // namespace
} // namespace zelvo
