#include "platform/linux/x11/input/BindingPlan.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Bindings = std::vector<KeyBinding>;

bool isAscii(char32_t character)
{
    return character < 0x80;
}

TEST(BindingPlan, bindsNothingForWhatTheLayoutHas)
{
    EXPECT_TRUE(planBindings(U"plain", isAscii, {{8, 93}, {}}).empty());
    EXPECT_TRUE(planBindings(U"", isAscii, {{8, 93}, {}}).empty());
}

TEST(BindingPlan, usesThePlainLevelOfAllKeysFirst)
{
    EXPECT_EQ(planBindings(U"éaüé", isAscii, {{8, 93, 97}, {}}), (Bindings{{8, U'é', 0}, {93, U'ü', 0}}));
    EXPECT_EQ(planBindings(U"éüö", isAscii, {{8, 93}, {}}), (Bindings{{8, U'é', U'ö'}, {93, U'ü', 0}}));
}

TEST(BindingPlan, fillsEmptyKeysBeforeItTouchesOthers)
{
    EXPECT_EQ(planBindings(U"éüö", isAscii, {{8}, {191}}), (Bindings{{8, U'é', U'ü'}, {191, U'ö', 0}}));
}

TEST(BindingPlan, endsWhereTheKeysAreUsedUp)
{
    // The third character does not fit, so the plan ends before it; keys are bound again when its turn comes.
    EXPECT_EQ(planBindings(U"éüöä", isAscii, {{8}, {}}), (Bindings{{8, U'é', U'ü'}}));
}

TEST(BindingPlan, putsACharacterOnBothLevelsWhenShiftIsHeld)
{
    EXPECT_EQ(planBindings(U"éüö", isAscii, {{8}, {191}}, UsableLevels::one),
              (Bindings{{8, U'é', U'é'}, {191, U'ü', U'ü'}}));
}

TEST(BindingPlan, hasNoAnswerWithoutKeys)
{
    EXPECT_TRUE(planBindings(U"é", isAscii, {}).empty());
}

} // namespace
} // namespace zelvo
