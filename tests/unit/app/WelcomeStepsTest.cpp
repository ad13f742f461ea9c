#include "app/welcome/WelcomeSteps.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(WelcomeSteps, areAlwaysThreeInOrder)
{
    WelcomeSteps::Steps const steps = WelcomeSteps::all({}, false);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(steps[static_cast<std::size_t>(i)].id, i + 1);
    EXPECT_EQ(WelcomeSteps::doneCount(steps), 0);
    EXPECT_EQ(WelcomeSteps::currentId(steps), 1);
}

TEST(WelcomeSteps, theConnectionIsCurrentWhenBothPermissionsAreGranted)
{
    WelcomeSteps::Steps const steps =
        WelcomeSteps::all({.accessibility = true, .screenRecording = true}, false);
    EXPECT_EQ(WelcomeSteps::doneCount(steps), 2);
    EXPECT_EQ(WelcomeSteps::currentId(steps), 3);
    EXPECT_FALSE(steps[2].hasSettings);
}

TEST(WelcomeSteps, aStepIsUndoneWhenItsPermissionGoes)
{
    WelcomeSteps::Steps const steps = WelcomeSteps::all({.accessibility = true}, true);
    EXPECT_EQ(WelcomeSteps::doneCount(steps), 2);
    EXPECT_EQ(WelcomeSteps::currentId(steps), 1);
}

TEST(WelcomeSteps, haveNoCurrentOneWhenAllAreDone)
{
    WelcomeSteps::Steps const steps =
        WelcomeSteps::all({.accessibility = true, .screenRecording = true}, true);
    EXPECT_EQ(WelcomeSteps::currentId(steps), std::nullopt);
}

} // namespace
} // namespace zelvo
