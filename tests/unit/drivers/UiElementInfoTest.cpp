#include "drivers/UiElementInfo.h"

#include <gtest/gtest.h>

#include <limits>

namespace zelvo {
namespace {

UiElementInfo button()
{
    return {.id = "e12", .role = "AXButton", .frame = {120.9, 44, 80, 24.7}};
}

TEST(CompactLine, showsRoleAndFrameTruncatedTowardZero)
{
    EXPECT_EQ(button().compactLine(), "[e12] button (120,44 80x24)");
}

TEST(CompactLine, cutsNegativeNumbersTowardZeroToo)
{
    UiElementInfo info = button();
    info.frame = {-0.9, -10.5, 1, 2};
    EXPECT_EQ(info.compactLine(), "[e12] button (0,-10 1x2)");
}

TEST(CompactLine, quotesTitleAndValueAsTheyAre)
{
    UiElementInfo info = button();
    info.title = R"(Say "hi")";
    info.value = R"(a"b)";
    EXPECT_EQ(info.compactLine(), R"([e12] button "Say "hi"" value="a"b" (120,44 80x24))");
}

TEST(CompactLine, givesNoPartForAnEmptyTitleOrValue)
{
    UiElementInfo info = button();
    info.title = "";
    info.value = "";
    EXPECT_EQ(info.compactLine(), "[e12] button (120,44 80x24)");
}

TEST(CompactLine, showsDisabledThenFocused)
{
    UiElementInfo info = button();
    info.enabled = false;
    info.focused = true;
    EXPECT_EQ(info.compactLine(), "[e12] button (120,44 80x24) disabled focused");
}

TEST(CompactLine, removesEveryAxFromTheRole)
{
    UiElementInfo info = button();
    info.role = "AXPopUpAXButton";
    EXPECT_EQ(info.compactLine(), "[e12] popupbutton (120,44 80x24)");
}

TEST(CompactLine, survivesNumbersThatNoIntegerHolds)
{
    UiElementInfo info = button();
    info.frame = {1e300, -1e300, std::numeric_limits<double>::infinity(), 5};
    EXPECT_EQ(info.compactLine(),
              "[e12] button (9223372036854775807,-9223372036854775808 9223372036854775807x5)");
}

} // namespace
} // namespace zelvo
