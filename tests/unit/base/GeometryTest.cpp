#include "base/Geometry.h"

#include <gtest/gtest.h>

#include <limits>

namespace zelvo {

namespace {

TEST(DesktopRect, holdsItsLeftAndTopEdgesOnly)
{
    DesktopRect const rect{-10, 5, 20, 10};

    EXPECT_TRUE(rect.contains({-10, 5}));
    EXPECT_TRUE(rect.contains({9.99, 14.99}));
    EXPECT_FALSE(rect.contains({10, 5}));
    EXPECT_FALSE(rect.contains({-10, 15}));
    EXPECT_FALSE(rect.contains({std::numeric_limits<double>::quiet_NaN(), 5}));
    EXPECT_FALSE((DesktopRect{0, 0, 0, 0}.contains({0, 0})));
}

TEST(DesktopRect, hasACenter)
{
    EXPECT_EQ((DesktopRect{-10, 5, 21, 10}.center()), (DesktopPoint{0.5, 10}));
}

} // namespace

} // namespace zelvo
