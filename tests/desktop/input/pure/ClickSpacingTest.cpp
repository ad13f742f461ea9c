#include "platform/linux/input/ClickSpacing.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

constexpr DesktopPoint here{100, 100};
Instant at(Duration since)
{
    return Instant{} + since;
}

TEST(ClickSpacing, letsTheFirstClickThrough)
{
    EXPECT_EQ(ClickSpacing().earliest(here, 400ms), std::nullopt);
}

TEST(ClickSpacing, holdsTheNextActionBackForTheDoubleClickTime)
{
    ClickSpacing spacing;
    spacing.pressed(here, 1, at(10s));

    EXPECT_EQ(spacing.earliest(here, 400ms), at(10s + 401ms));
    EXPECT_EQ(spacing.earliest({103, 104}, 400ms), at(10s + 401ms)); // Exactly five points away.
}

TEST(ClickSpacing, letsAClickElsewhereThrough)
{
    ClickSpacing spacing;
    spacing.pressed(here, 1, at(10s));

    EXPECT_EQ(spacing.earliest({103.1, 104}, 400ms), std::nullopt);
}

TEST(ClickSpacing, waitsUntilNoTripleClickCanComeOfADouble)
{
    ClickSpacing spacing;
    spacing.pressed(here, 1, at(10s));
    spacing.pressed(here, 2, at(10s + 1ms));

    EXPECT_EQ(spacing.earliest(here, 400ms), at(10s + 801ms));
}

TEST(ClickSpacing, countsPressesWithoutAClickState)
{
    ClickSpacing spacing;
    spacing.pressed(here, 0, at(10s));

    EXPECT_EQ(spacing.earliest(here, 250ms), at(10s + 251ms));
}

} // namespace
} // namespace zelvo
