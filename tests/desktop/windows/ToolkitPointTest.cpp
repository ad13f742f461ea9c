#include "app/widgets/ToolkitPoint.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(ToolkitPoint, isThePointItselfOnOneScreen)
{
    std::vector<ToolkitScreen> const one{{.geometry = {0, 0, 1920, 1080}}};
    EXPECT_EQ(toolkitPoint({300, 200}, 1, one), QPoint(300, 200));
    std::vector<ToolkitScreen> const twice{{.geometry = {0, 0, 1920, 1080}, .ratio = 2}};
    EXPECT_EQ(toolkitPoint({300.5, 200.5}, 2, twice), QPoint(300, 200));
}

TEST(ToolkitPoint, beginsAnewAtEachScreen)
{
    std::vector<ToolkitScreen> const two{{.geometry = {0, 0, 1920, 1080}, .ratio = 2},
                                         {.geometry = {3840, 0, 1920, 1080}, .ratio = 2}};
    EXPECT_EQ(toolkitPoint({1919.5, 50}, 2, two), QPoint(1919, 50));
    EXPECT_EQ(toolkitPoint({1920, 50}, 2, two), QPoint(3840, 50));
    EXPECT_EQ(toolkitPoint({2000, 50}, 2, two), QPoint(3840 + 80, 50));
}

TEST(ToolkitPoint, countsFromTheMainScreen)
{
    std::vector<ToolkitScreen> const two{{.geometry = {1280, 0, 1920, 1080}},
                                         {.geometry = {0, 0, 1280, 1024}}};
    EXPECT_EQ(toolkitPoint({10, 20}, 1, two), QPoint(1290, 20));
    EXPECT_EQ(toolkitPoint({-100, 20}, 1, two), QPoint(1180, 20));
}

TEST(ToolkitPoint, followsTheToolkitWhereThePersonHasChosenAnotherScale)
{
    std::vector<ToolkitScreen> const larger{{.geometry = {0, 0, 960, 540}, .ratio = 2}};
    EXPECT_EQ(toolkitPoint({300, 200}, 1, larger), QPoint(150, 100));
}

TEST(ToolkitPoint, exceedsWhatNoScreenShows)
{
    EXPECT_EQ(toolkitPoint({-5, 7}, 1, {}), QPoint(-5, 7));
    std::vector<ToolkitScreen> const one{{.geometry = {0, 0, 100, 100}}};
    EXPECT_FALSE(one.front().geometry.contains(toolkitPoint({500, 20}, 1, one)));
}

} // namespace
} // namespace zelvo
