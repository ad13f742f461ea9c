#include "platform/linux/atspi/WindowFit.h"

#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

using Matches = std::vector<std::optional<std::size_t>>;

ProcessWindow plain(std::string title, PixelRect area)
{
    return {.title = std::move(title), .inner = area, .outer = area};
}

TEST(WindowFit, takesTheWindowItself)
{
    auto const fit = fitWindow({301, 201, 420, 300}, plain("", {301, 201, 420, 300}), 1);

    EXPECT_EQ(fit, (WindowFit{.scale = 1, .x = 0, .y = 0, .exact = true}));
}

TEST(WindowFit, takesTheWindowManagersFrame)
{
    ProcessWindow const window{.inner = {302, 223, 420, 300}, .outer = {301, 201, 422, 327}};

    auto const fit = fitWindow({301, 201, 422, 327}, window, 1);

    EXPECT_EQ(fit, (WindowFit{.scale = 1, .x = 0, .y = 0, .exact = true}));
}

TEST(WindowFit, leavesShadowsOut)
{
    ProcessWindow window = plain("", {301, 201, 896, 748});
    window.frameExtents = {28, 28, 24, 34};

    auto const fit = fitWindow({0, 0, 420, 345}, window, 1);

    EXPECT_EQ(fit, (WindowFit{.scale = 2, .x = 329, .y = 225, .exact = true}));
}

TEST(WindowFit, dividesABorderThatNobodyTellsOf)
{
    auto const fit = fitWindow({0, 0, 410, 344}, plain("", {301, 201, 840, 708}), 1);

    EXPECT_EQ(fit, (WindowFit{.scale = 2, .x = 311, .y = 211, .exact = false}));
}

TEST(WindowFit, givesTheTitleBarWhatTheTopHasMoreThanTheOtherSides)
{
    auto const fit = fitWindow({0, 0, 400, 300}, plain("", {1100, 100, 406, 333}), 1);

    EXPECT_EQ(fit, (WindowFit{.scale = 1, .x = 1103, .y = 130, .exact = false}));
}

TEST(WindowFit, findsATitleBarInsideOfShadows)
{
    ProcessWindow window = plain("", {1090, 90, 426, 353});
    window.frameExtents = {10, 10, 5, 15};

    auto const fit = fitWindow({0, 0, 400, 300}, window, 1);

    EXPECT_EQ(fit, (WindowFit{.scale = 1, .x = 1103, .y = 125, .exact = false}));
}

TEST(WindowFit, takesNoTallRemainderForATitleBar)
{
    EXPECT_EQ(fitWindow({0, 0, 400, 300}, plain("", {0, 0, 406, 400}), 1), std::nullopt);
}

TEST(WindowFit, findsAnOddScale)
{
    auto const fit = fitWindow({80, 40, 800, 600}, plain("", {100, 50, 1000, 750}), 1);

    EXPECT_EQ(fit, (WindowFit{.scale = 1.25, .x = 0, .y = 0, .exact = true}));
}

TEST(WindowFit, forgivesRoundingToWholeUnits)
{
    ProcessWindow const window{.inner = {302, 223, 840, 600}, .outer = {301, 201, 842, 627}};

    auto const fit = fitWindow({150, 100, 422, 314}, window, 1);

    EXPECT_EQ(fit, (WindowFit{.scale = 2, .x = 1, .y = 1, .exact = true}));
}

TEST(WindowFit, isNothingForOtherSizes)
{
    EXPECT_EQ(fitWindow({368, 226, 374, 88}, plain("", {301, 201, 508, 500}), 1), std::nullopt);
    EXPECT_EQ(fitWindow({0, 0, 0, 0}, plain("", {301, 201, 508, 500}), 1), std::nullopt);
    EXPECT_EQ(fitWindow({0, 0, -5, 10}, plain("", {301, 201, 508, 500}), 1), std::nullopt);
    EXPECT_EQ(fitWindow({0, 0, 1, 1}, plain("", {301, 201, 508, 500}), 1), std::nullopt);
    EXPECT_EQ(fitWindow({0, 0, 508, 500}, plain("", {301, 201, 0, 0}), 1), std::nullopt);
}

TEST(WindowMatching, goesByTitle)
{
    std::vector<ProcessWindow> const windows = {plain("b - Editor", {0, 0, 400, 300}),
                                                plain("a - Editor", {50, 60, 400, 300})};

    EXPECT_EQ(matchWindows({{"a - Editor", {0, 0, 400, 300}}, {"b - Editor", {0, 0, 400, 300}}}, windows, 1),
              (Matches{1, 0}));
}

TEST(WindowMatching, goesByPlaceWhenTitlesAreTheSame)
{
    std::vector<ProcessWindow> const windows = {plain("Terminal", {10, 10, 400, 300}),
                                                plain("Terminal", {50, 60, 400, 300})};

    EXPECT_EQ(matchWindows({{"Terminal", {50, 60, 400, 300}}, {"Terminal", {10, 10, 400, 300}}}, windows, 1),
              (Matches{1, 0}));
}

TEST(WindowMatching, goesBySizeWithoutTitles)
{
    std::vector<ProcessWindow> const windows = {plain("", {457, 281, 342, 728}),
                                                plain("Web - Chromium", {301, 201, 508, 500})};

    EXPECT_EQ(
        matchWindows(
            {{"Web - Chromium", {301, 201, 508, 500}}, {"", {368, 226, 374, 88}}, {"", {457, 281, 342, 728}}},
            windows, 1),
        (Matches{1, std::nullopt, 0}));
}

TEST(WindowMatching, goesInOrderWhenNothingTellsThemApart)
{
    std::vector<ProcessWindow> const windows = {plain("Same", {10, 10, 400, 300}),
                                                plain("Same", {50, 60, 400, 300})};

    EXPECT_EQ(matchWindows({{"Same", {0, 0, 400, 300}}, {"Same", {0, 0, 400, 300}}}, windows, 1),
              (Matches{0, 1}));
}

TEST(WindowMatching, endsWithTheTitleWhenTheSizeHasJustChanged)
{
    EXPECT_EQ(
        matchWindows({{"Web - Chromium", {0, 0, 900, 200}}}, {plain("Web - Chromium", {0, 0, 300, 900})}, 1),
        (Matches{0}));
}

TEST(WindowMatching, survivesWildNumbers)
{
    constexpr std::int32_t least = INT32_MIN;
    constexpr std::int32_t most = INT32_MAX;

    EXPECT_EQ(matchWindows({{"a", {least, least, most, most}}, {"b", {most, most, least, least}}},
                           {plain("c", {0, 0, 100, 100})}, 1),
              (Matches{std::nullopt, std::nullopt}));
}

} // namespace
} // namespace zelvo::test
