#include "drivers/QuietScreen.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

/// A display of 1000x1000 points, on which 1000 square points are 0.1 %; looks come when a test says.
class QuietScreenTest : public testing::Test {
protected:
    /// Whether a drawing at this time counts.
    bool counts(std::vector<DesktopRect> const& areas)
    {
        now += 10ms;
        Instant const before = screen.quietAt();
        screen.note(areas, now);
        EXPECT_TRUE(screen.quietAt() == before || screen.quietAt() == now + 300ms);
        return screen.quietAt() != before;
    }
    void lookAt(DesktopRect region)
    {
        screen = QuietScreen({.quiet = 300ms, .display = {1000, 1000}, .region = region}, now);
    }

    Instant now = Instant{} + 5s;
    QuietScreen screen{{.quiet = 300ms, .display = {1000, 1000}, .region = {}}, now};
};

TEST_F(QuietScreenTest, isQuietAfterTheTimeFromItsStart)
{
    EXPECT_EQ(screen.quietAt(), now + 300ms);
}

TEST_F(QuietScreenTest, waitsAgainAfterEachDrawing)
{
    EXPECT_TRUE(counts({{0, 0, 500, 500}}));
    EXPECT_TRUE(counts({{0, 0, 500, 500}}));
    EXPECT_FALSE(counts({}));
    EXPECT_FALSE(counts({{0, 0, 0, 500}, {5, 5, 10, -1}}));
}

TEST_F(QuietScreenTest, aSmallDrawingCountsOnceInAPlace)
{
    DesktopRect const caret{100, 100, 2, 20};
    EXPECT_TRUE(counts({caret}));
    EXPECT_FALSE(counts({caret}));
    EXPECT_FALSE(counts({{100, 105, 1, 10}})); // A part of it.
    EXPECT_TRUE(counts({{100, 130, 2, 20}}));  // Elsewhere,
    EXPECT_FALSE(counts({caret, {100, 130, 2, 20}}));
    EXPECT_TRUE(counts({caret, {300, 300, 5, 5}})); // and beside one that blinks.
}

TEST_F(QuietScreenTest, typedTextCounts)
{
    for (int letter = 0; letter < 100; ++letter)
        EXPECT_TRUE(counts({{100 + letter * 8.0, 100, 10, 20}})) << letter;
}

TEST_F(QuietScreenTest, fromATenthOfAPercentADrawingAlwaysCounts)
{
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(counts({{0, 0, 40, 25}})) << i;
    EXPECT_TRUE(counts({{500, 500, 39, 25}}));
    EXPECT_FALSE(counts({{500, 500, 39, 25}}));
}

TEST_F(QuietScreenTest, aSpinnerThatDrawsAPartAtATimeBlinksOnceItWentAround)
{
    std::vector<DesktopRect> const parts = {
        {200, 200, 12, 12}, {208, 200, 12, 12}, {208, 208, 12, 12}, {200, 208, 12, 12}};
    int counted = 0;
    for (int turn = 0; turn < 5; ++turn)
        for (DesktopRect const& part : parts)
            counted += counts({part});
    EXPECT_LE(counted, 4);
    EXPECT_GE(counted, 1);
}

TEST_F(QuietScreenTest, smallDrawingsDoNotMakeALargePlace)
{
    // Each overlaps the one before, so that together they cover a stripe of 1 % of the display.
    for (int turn = 0; turn < 2; ++turn)
        for (int step = 0; step < 40; ++step)
            counts({{step * 25.0, 0, 26, 10}});
    EXPECT_TRUE(counts({{0, 0, 1000, 10}}));
    EXPECT_TRUE(counts({{100, 0, 90, 10}})); // Small, and wider than any place.
}

TEST_F(QuietScreenTest, areasThatTouchAreOneDrawing)
{
    // A change that the screen system reports in bands, each of which is small.
    std::vector<DesktopRect> bands;
    for (int band = 0; band < 100; ++band)
        bands.push_back({100, 100 + band * 5.0, 100, 5});
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(counts(bands)) << i;
    // Also if one that comes late joins two groups.
    EXPECT_TRUE(counts({{600, 600, 30, 15}, {600, 630, 30, 15}, {600, 615, 30, 15}}));
    EXPECT_TRUE(counts({{600, 600, 30, 15}, {600, 630, 30, 15}, {600, 615, 30, 15}}));
}

TEST_F(QuietScreenTest, manyAreasAreAChange)
{
    std::vector<DesktopRect> dots;
    for (int dot = 0; dot < 5'000; ++dot)
        dots.push_back({dot % 100 * 10.0, dot / 100 * 10.0, 1, 1});
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(counts(dots)) << i;
}

TEST_F(QuietScreenTest, onlyTheRegionCounts)
{
    lookAt({100, 100, 50, 50});
    EXPECT_FALSE(counts({{0, 0, 100, 100}, {150, 100, 500, 500}}));
    EXPECT_TRUE(counts({{0, 0, 101, 101}}));
    EXPECT_TRUE(counts({{120, 120, 2, 2}}));
    EXPECT_FALSE(counts({{120, 120, 2, 2}}));
}

TEST_F(QuietScreenTest, forgetsTheOldestOfManyPlaces)
{
    auto const place = [](int i) { return DesktopRect{i % 50 * 20.0, i / 50 * 20.0, 5, 5}; };
    for (int i = 0; i < 1'000; ++i)
        EXPECT_TRUE(counts({place(i)})) << i;
    EXPECT_FALSE(counts({place(999)}));
    EXPECT_TRUE(counts({place(0)}));
}

} // namespace
} // namespace zelvo
