#include "overlays/Motion.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Curve = Motion::Curve;

Motion motion(Curve curve)
{
    return {.from = 10, .to = 30, .start = Instant{5s}, .duration = 100ms, .curve = curve};
}

TEST(Motion, beginsAndEndsWhereItShould)
{
    for (Curve const curve : {Curve::linear, Curve::easeIn, Curve::easeOut}) {
        EXPECT_EQ(motion(curve).at(Instant{4s}), 10);
        EXPECT_EQ(motion(curve).at(Instant{5s}), 10);
        EXPECT_EQ(motion(curve).at(Instant{5100ms}), 30);
        EXPECT_EQ(motion(curve).at(Instant{6s}), 30);
    }
    EXPECT_FALSE(motion(Curve::linear).hasEnded(Instant{5099ms}));
    EXPECT_TRUE(motion(Curve::linear).hasEnded(Instant{5100ms}));
}

TEST(Motion, easesInSlowlyAndOutSlowly)
{
    EXPECT_DOUBLE_EQ(motion(Curve::linear).at(Instant{5050ms}), 20);
    EXPECT_LT(motion(Curve::easeIn).at(Instant{5050ms}), 20);
    EXPECT_GT(motion(Curve::easeOut).at(Instant{5050ms}), 20);
}

TEST(Motion, withoutALengthIsThereAtOnce)
{
    EXPECT_EQ((Motion{.from = 1, .to = 2, .start = Instant{5s}}.at(Instant{5s})), 2);
}

} // namespace
} // namespace zelvo
