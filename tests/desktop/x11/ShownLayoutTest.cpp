#include "platform/linux/x11/capture/ShownLayout.h"

#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

constexpr PixelRect display{0, 0, 1000, 1000};

/// Windows bottom to top, and which of them are left out.
class Windows {
public:
    void add(std::uint32_t id, PixelRect area, bool isLeftOut = false)
    {
        SurveyedWindow window;
        window.id = window.client.id = id;
        window.viewable = true;
        window.depth = 24;
        window.area = area;
        survey.windows.push_back(std::move(window));
        exclusion.windows.push_back(isLeftOut);
        exclusion.holes.emplace_back();
        exclusion.pointers.emplace_back();
    }
    ShownLayout layout() const { return ShownLayout::of(survey, exclusion, display, false); }

    WindowSurvey survey;
    CaptureExclusion exclusion;
};

ShownLayout layoutOf(std::vector<std::pair<std::uint32_t, PixelRect>> const& shown,
                     std::vector<std::pair<std::uint32_t, PixelRect>> const& leftOut = {})
{
    Windows windows;
    for (auto const& [id, area] : shown)
        windows.add(id, area);
    for (auto const& [id, area] : leftOut)
        windows.add(id, area, true);
    return windows.layout();
}

std::int64_t changedPixels(ShownLayout const& before, ShownLayout const& after)
{
    PixelRegion all;
    for (PixelRect const& rect : after.changesSince(before))
        all.add(rect);
    return all.pixels();
}

TEST(ShownLayout, hasTheVisiblePartsOfTheWindowsInPictures)
{
    ShownLayout const layout = layoutOf(
        {{1, {0, 0, 100, 100}}, {2, {50, 0, 100, 100}}, {3, {990, 990, 100, 100}}, {4, {2000, 0, 9, 9}}},
        {{5, {0, 0, 1000, 1000}}});

    ASSERT_EQ(layout.shown.size(), 3u);
    EXPECT_EQ(layout.shown.at(1).visible.bounds(), (PixelRect{0, 0, 50, 100}));
    EXPECT_EQ(layout.shown.at(2).visible.pixels(), 10'000);
    EXPECT_EQ(layout.shown.at(3).visible.pixels(), 100);
    EXPECT_EQ(layout.shown.at(3).area, (PixelRect{990, 990, 100, 100}));
    EXPECT_EQ(layout.leftOut.size(), 1u);
}

TEST(ShownLayout, doesNotChangeByItself)
{
    ShownLayout const layout = layoutOf({{1, {0, 0, 100, 100}}, {2, {50, 0, 100, 100}}}, {{5, {0, 0, 9, 9}}});
    EXPECT_TRUE(layout.changesSince(layout).empty());
    EXPECT_TRUE(layout.leftOutChangesSince(layout).isEmpty());
}

TEST(ShownLayout, changesWhereAWindowComesAndGoes)
{
    ShownLayout const without = layoutOf({{1, {0, 0, 100, 100}}});
    ShownLayout const with = layoutOf({{1, {0, 0, 100, 100}}, {2, {50, 50, 100, 100}}});
    EXPECT_EQ(changedPixels(without, with), 10'000);
    EXPECT_EQ(changedPixels(with, without), 10'000);
}

TEST(ShownLayout, changesWhereAWindowMovesOrIsRaised)
{
    ShownLayout const before = layoutOf({{1, {0, 0, 100, 100}}, {2, {50, 0, 100, 100}}});
    EXPECT_EQ(changedPixels(before, layoutOf({{1, {0, 0, 100, 100}}, {2, {150, 0, 100, 100}}})),
              5'000 + 20'000 - 5'000);
    EXPECT_EQ(changedPixels(before, layoutOf({{2, {50, 0, 100, 100}}, {1, {0, 0, 100, 100}}})), 5'000);
}

TEST(ShownLayout, doesNotChangeWithWhatIsLeftOut)
{
    ShownLayout const before = layoutOf({{1, {0, 0, 100, 100}}});
    ShownLayout const with = layoutOf({{1, {0, 0, 100, 100}}}, {{5, {50, 50, 100, 100}}});
    ShownLayout const moved = layoutOf({{1, {0, 0, 100, 100}}}, {{5, {60, 50, 100, 100}}});

    EXPECT_TRUE(with.changesSince(before).empty());
    EXPECT_TRUE(moved.changesSince(with).empty());
    EXPECT_TRUE(before.changesSince(moved).empty());
    EXPECT_EQ(with.leftOutChangesSince(before).pixels(), 10'000);
    EXPECT_EQ(moved.leftOutChangesSince(with).pixels(), 11'000);
    EXPECT_EQ(before.leftOutChangesSince(moved).pixels(), 10'000);
    EXPECT_TRUE(moved.leftOutChangesSince(moved).isEmpty());
}

TEST(ShownLayout, aNewShapeOfWhatIsLeftOutIsAChange)
{
    Windows windows;
    windows.add(1, {0, 0, 100, 100}, true);
    ShownLayout const before = windows.layout();
    windows.survey.windows.front().shaped = true;
    windows.survey.windows.front().shape = PixelRegion(PixelRect{0, 0, 50, 100});
    EXPECT_EQ(windows.layout().leftOutChangesSince(before).pixels(), 10'000);
}

TEST(ShownLayout, leavesOutTheFramesOfClientsThatAreGone)
{
    Windows windows;
    windows.add(1, {0, 0, 100, 100});
    windows.add(2, {0, 0, 100, 100});
    for (SurveyedWindow& window : windows.survey.windows)
        window.windowManagers = true;

    leaveOutEmptyFrames(windows.survey, windows.exclusion, [](std::uint32_t id) { return id == 2; });

    EXPECT_EQ(windows.exclusion.windows, (std::vector{false, true}));
}

} // namespace
} // namespace zelvo::test
