#include "platform/linux/x11/capture/CapturePlan.h"

#include "platform/linux/x11/capture/PixelCopy.h"
#include "platform/portable/pictures/PictureScaling.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace zelvo::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(PixelRegion, isWhatIsLeftAfterHoles)
{
    PixelRegion region(PixelRect{0, 0, 100, 100});
    region.subtract(PixelRect{20, 20, 10, 10});
    region.subtract(PixelRect{25, 25, 10, 10});
    region.subtract(PixelRect{90, 90, 50, 50});
    region.subtract(PixelRect{500, 500, 5, 5});

    EXPECT_EQ(region.pixels(), 10'000 - 100 - 75 - 100);
    EXPECT_EQ(region.bounds(), (PixelRect{0, 0, 100, 100}));
    EXPECT_EQ(region.intersected(PixelRect{20, 20, 15, 15}).pixels(), 225 - 175);

    region.subtract(PixelRect{-10, -10, 200, 200});
    EXPECT_TRUE(region.isEmpty());
    EXPECT_TRUE(region.bounds().isEmpty());
}

TEST(PixelRegion, countsOverlapsOnce)
{
    PixelRegion region;
    region.add({0, 0, 10, 10});
    region.add({5, 5, 10, 10});
    region.add({5, 5, 0, 10});

    EXPECT_EQ(region.pixels(), 175);
}

/// Random rectangles that do not overlap, in 0..300.
PixelRegion scattered(std::mt19937& random, int count)
{
    PixelRegion region;
    std::uniform_int_distribution place(0, 280);
    std::uniform_int_distribution side(1, 20);
    for (int i = 0; i < count; ++i)
        region.add({place(random), place(random), side(random), side(random)});
    return region;
}

/// By pixel: the number of rectangles that it is in.
std::vector<int> counts(PixelRegion const& region)
{
    std::vector<int> found(300UL * 300);
    for (PixelRect const& rect : region.all())
        for (int y = rect.y; y < rect.bottom(); ++y)
            for (int x = rect.x; x < rect.right(); ++x)
                ++found[300 * static_cast<std::size_t>(y) + static_cast<std::size_t>(x)];
    return found;
}

TEST(PixelRegion, combinesManyPartsPixelByPixel)
{
    std::mt19937 random{4711};
    for (int i = 0; i < 20; ++i) {
        PixelRegion const left = scattered(random, i % 2 ? 500 : 60);
        PixelRegion const right = scattered(random, i % 2 ? 300 : 60);
        PixelRegion rest = left;
        rest.subtract(right);
        auto const inLeft = counts(left);
        auto const inRight = counts(right);
        auto const inRest = counts(rest);
        auto const inBoth = counts(left.intersected(right));
        for (std::size_t pixel = 0; pixel < inLeft.size(); ++pixel) {
            ASSERT_EQ(inRest[pixel], inLeft[pixel] && !inRight[pixel]);
            ASSERT_EQ(inBoth[pixel], inLeft[pixel] && inRight[pixel]);
        }
    }
}

WindowSurvey surveyOf(std::vector<PixelRect> const& areas)
{
    WindowSurvey survey;
    for (PixelRect const& area : areas) {
        SurveyedWindow& window = survey.windows.emplace_back();
        window.depth = 24;
        window.area = area;
        window.client.id = static_cast<std::uint32_t>(survey.windows.size());
    }
    return survey;
}

std::vector<std::size_t> windowsOf(CapturePlan const& plan)
{
    std::vector<std::size_t> windows;
    for (CapturePiece const& piece : plan.pieces)
        windows.push_back(piece.window);
    return windows;
}

constexpr PixelRect display{0, 0, 100, 100};

TEST(CapturePlan, takesOnlyWhatIsSeenOfEachWindow)
{
    WindowSurvey const survey =
        surveyOf({{0, 0, 50, 50}, {0, 0, 40, 50}, {-20, -20, 30, 30}, {200, 0, 10, 10}});
    auto const none = excludedWindows(survey, [](ClientWindow const&) { return false; });

    CapturePlan const plan = planCapture(survey, none, display, false);

    EXPECT_FALSE(none.isAny());
    EXPECT_THAT(windowsOf(plan), ElementsAre(0, 1, 2));
    EXPECT_EQ(plan.pieces[0].visible.bounds(), (PixelRect{40, 0, 10, 50}));
    EXPECT_EQ(plan.pieces[1].visible.pixels(), 40 * 50 - 100);
    EXPECT_EQ(plan.pieces[2].visible.bounds(), (PixelRect{0, 0, 10, 10}));
    EXPECT_EQ(plan.background.pixels(), 10'000 - 2'500);
}

TEST(CapturePlan, showsWhatLiesBehindTheExcluded)
{
    WindowSurvey const survey = surveyOf({{0, 0, 50, 50}, {0, 0, 100, 100}});
    auto const exclusion = excludedWindows(survey, [](ClientWindow const& client) { return client.id == 2; });

    CapturePlan const plan = planCapture(survey, exclusion, display, false);

    EXPECT_TRUE(exclusion.isAny());
    EXPECT_THAT(windowsOf(plan), ElementsAre(0));
    EXPECT_EQ(plan.pieces[0].visible.pixels(), 2'500);
    EXPECT_EQ(plan.background.pixels(), 7'500);
}

TEST(CapturePlan, readsNothingOfAHole)
{
    WindowSurvey survey = surveyOf({{0, 0, 50, 50}});
    survey.windows[0].embedded = {{.client = {.id = 9}, .area = {10, 10, 10, 10}}};
    auto const exclusion = excludedWindows(survey, [](ClientWindow const& client) { return client.id == 9; });

    CapturePlan const plan = planCapture(survey, exclusion, display, false);

    ASSERT_EQ(plan.pieces.size(), 1u);
    EXPECT_TRUE(exclusion.isAny());
    EXPECT_TRUE(plan.pieces[0].hasHoles);
    EXPECT_THAT(plan.pieces[0].visible.intersected(PixelRect{10, 10, 10, 10}).all(), IsEmpty());
}

TEST(CapturePlan, letsAlphaThroughOnlyUnderACompositor)
{
    WindowSurvey survey = surveyOf({{0, 0, 50, 50}, {0, 0, 50, 50}});
    survey.windows[1].depth = 32;
    auto const none = excludedWindows(survey, [](ClientWindow const&) { return false; });

    EXPECT_THAT(windowsOf(planCapture(survey, none, display, false)), ElementsAre(1));
    EXPECT_THAT(windowsOf(planCapture(survey, none, display, true)), ElementsAre(0, 1));
    EXPECT_EQ(planCapture(survey, none, display, true).background.pixels(), 7'500);
}

TEST(CapturePlan, passesOverWhatHasNoPixels)
{
    WindowSurvey survey = surveyOf({{0, 0, 50, 50}, {0, 0, 50, 50}, {0, 0, 50, 50}});
    survey.windows[0].inputOnly = true;
    survey.windows[1].depth = 8;
    survey.windows[2].shaped = true; // With an empty shape.
    auto const all = excludedWindows(survey, [](ClientWindow const& client) { return client.id == 1; });

    EXPECT_FALSE(all.isAny()); // Nothing can be seen of an input-only window.
    EXPECT_THAT(planCapture(survey, all, display, false).pieces, IsEmpty());
}

TEST(CapturePlan, knowsWhereThePointersImageMayBeAnExcludedOnes)
{
    constexpr std::int32_t own = 10;
    PixelRect const left{0, 0, 50, 50};
    PixelRect const right{50, 0, 50, 50};
    WindowSurvey survey = surveyOf({left, left, right});
    for (std::size_t i = 0; i < 3; ++i)
        survey.windows[i].id = static_cast<std::uint32_t>(100 + i);
    survey.windows[2].embedded = {{.client = {.id = 9}, .area = {60, 10, 10, 10}}};
    auto const excluding = [&](std::uint32_t id) {
        return excludedWindows(survey, [id](ClientWindow const& client) { return client.id == id; });
    };

    CaptureExclusion const below = excluding(1);
    EXPECT_TRUE(isPointerExcluded(survey, below, {.x = 10, .y = 10, .window = 100}, own));
    EXPECT_FALSE(isPointerExcluded(survey, below, {.x = 10, .y = 10, .window = 101}, own)); // In front of it.
    EXPECT_FALSE(isPointerExcluded(survey, below, {.x = 10, .y = 90, .window = 0}, own));
    EXPECT_TRUE(isPointerExcluded(survey, below, {.x = 10, .y = 90, .window = 0, .isPressed = true}, own));
    EXPECT_FALSE(
        isPointerExcluded(survey, excluding(7), {.x = 1, .y = 1, .window = 100, .isPressed = true}, own));

    CaptureExclusion const inside = excluding(9);
    EXPECT_TRUE(isPointerExcluded(survey, inside, {.x = 60, .y = 19, .window = 102}, own));
    EXPECT_FALSE(isPointerExcluded(survey, inside, {.x = 60, .y = 20, .window = 102}, own));

    survey.windows[0].inputOnly = true;
    CaptureExclusion const unseen = excluding(1);
    EXPECT_FALSE(unseen.isAny());
    EXPECT_TRUE(isPointerExcluded(survey, unseen, {.x = 10, .y = 10, .window = 100}, own));
    survey.windows[0].client.pid = own;
    EXPECT_FALSE(isPointerExcluded(survey, unseen, {.x = 10, .y = 90, .window = 0, .isPressed = true}, own));
}

/// A shape of as many parts as half its fields.
PixelRegion checkerboard(int fields)
{
    std::vector<PixelRect> black;
    for (int row = 0; row < fields; ++row)
        for (int column = row % 2; column < fields; column += 2)
            black.push_back({column, row, 1, 1});
    return PixelRegion::fromDisjoint(std::move(black));
}

TEST(CapturePlan, leavesOutShapesOfTooManyParts)
{
    PixelRect const all{0, 0, 100, 100};
    WindowSurvey survey = surveyOf({all, all, all, all});
    for (std::size_t const i : {1u, 2u, 3u})
        survey.windows[i].shaped = true;
    survey.windows[1].shape = checkerboard(100);
    survey.windows[2].shape = checkerboard(50);
    survey.windows[3].shape = checkerboard(50);
    auto const none = excludedWindows(survey, [](ClientWindow const&) { return false; });

    CapturePlan const plan = planCapture(survey, none, display, false);

    EXPECT_THAT(windowsOf(plan), ElementsAre(0, 3)); // The front ones first.
    EXPECT_EQ(plan.pieces[1].visible.pixels(), 1'250);
    EXPECT_EQ(plan.pieces[0].visible.pixels(), 10'000 - 1'250);
    EXPECT_TRUE(plan.background.isEmpty());
}

Picture grey(int width, int height)
{
    Picture picture{.width = width, .height = height, .stride = width * 4};
    picture.pixels = PixelBuffer(static_cast<std::size_t>(width * height) * 4);
    std::fill_n(picture.pixels.data(), picture.pixels.size(), std::uint8_t{100});
    return picture;
}

TEST(PixelCopy, keepsInsideThePicture)
{
    Picture picture = grey(4, 4);
    std::vector<std::uint8_t> const white(8UL * 8 * 4, 255);

    copyPixels(picture, {white.data(), {-6, -6, 8, 8}}, {-6, -6, 8, 8});
    copyPixels(picture, {white.data(), {3, 3, 8, 8}}, {-100, -100, 1000, 1000});
    copyPixels(picture, {white.data(), {0, 0, 8, 8}}, {2, 0, 1, 1});

    int changed = 0;
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4)
        changed += picture.pixels[i] == 255;
    EXPECT_EQ(changed, 4 + 1 + 1);
}

TEST(PixelCopy, laysPremultipliedColoursOver)
{
    Picture picture = grey(3, 1);
    std::vector<std::uint8_t> const pixels = {0, 0, 0, 0, 64, 0, 32, 128, 9, 8, 7, 255};

    blendPixels(picture, {pixels.data(), {0, 0, 3, 1}}, {0, 0, 3, 1});

    EXPECT_THAT(std::vector<int>({picture.pixels[0], picture.pixels[1], picture.pixels[2]}),
                ElementsAre(100, 100, 100));
    EXPECT_THAT(std::vector<int>({picture.pixels[4], picture.pixels[5], picture.pixels[6]}),
                ElementsAre(114, 50, 82));
    EXPECT_THAT(std::vector<int>({picture.pixels[8], picture.pixels[9], picture.pixels[10]}),
                ElementsAre(9, 8, 7));
}

TEST(PictureScaling, givesTheMean)
{
    Picture picture = grey(4, 2);
    picture.pixels[0] = 200;

    Picture const small = scaled(grey(4, 2), 2, 1);
    Picture const bright = scaled(std::move(picture), 2, 1);

    EXPECT_EQ(small.stride, 8);
    EXPECT_EQ(small.pixels[0], 100);
    EXPECT_EQ(bright.pixels[0], 125);
    EXPECT_EQ(bright.pixels[4], 100);
}

TEST(PictureScaling, keepsThePixelsOfTheSameSize)
{
    Picture picture = grey(4, 2);
    auto const* const pixels = picture.pixels.data();

    EXPECT_EQ(scaled(std::move(picture), 4, 2).pixels.data(), pixels);
}

} // namespace
} // namespace zelvo::test
