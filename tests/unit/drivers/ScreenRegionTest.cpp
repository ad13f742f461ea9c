#include "drivers/ScreenRegion.h"

#include "fakes/ErrorOf.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zelvo {
namespace {

Display display(int widthPixels, int heightPixels, double scale = 1)
{
    return {.id = 7,
            .widthPoints = widthPixels / scale,
            .heightPoints = heightPixels / scale,
            .scaleFactor = scale};
}

TEST(ScreenRegion, isWhatWasAskedForWhereThatIsWholePixels)
{
    EXPECT_EQ(ScreenRegion::of(display(800, 600), {10, 20, 30, 40}),
              (ScreenRegion{{10, 20, 30, 40}, {10, 20, 30, 40}}));
    EXPECT_EQ(ScreenRegion::of(display(1600, 1200, 2), {10, 20.5, 30, 40}),
              (ScreenRegion{{10, 20.5, 30, 40}, {20, 41, 60, 80}}));
}

TEST(ScreenRegion, growsToWholePixels)
{
    EXPECT_EQ(ScreenRegion::of(display(800, 600), {10.9, 20.1, 0.2, 1}),
              (ScreenRegion{{10, 20, 2, 2}, {10, 20, 2, 2}}));
}

TEST(ScreenRegion, isClippedToTheDisplay)
{
    EXPECT_EQ(ScreenRegion::of(display(800, 600), {-5, 590, 10, 1e300}).pixels, (DisplayPart{0, 590, 5, 10}));
    EXPECT_EQ(ScreenRegion::of(display(800, 600), {-1e300, -1e300, INFINITY, INFINITY}).pixels,
              (DisplayPart{0, 0, 800, 600}));
}

TEST(ScreenRegion, thatWasReportedHasTheSamePixelsAgain)
{
    for (double const scale : {1.0, 1.1, 1.25, 4 / 3.0, 1.5, 1.7, 2.0, 3.0})
        for (int pixel = 0; pixel < 600; ++pixel) {
            Display const shown = display(800, 600, scale);
            ScreenRegion const first =
                ScreenRegion::of(shown, {pixel / scale, pixel / scale, 1 / scale, 1 / scale});
            ASSERT_EQ(first.pixels, (DisplayPart{pixel, pixel, 1, 1})) << scale;
            ASSERT_EQ(ScreenRegion::of(shown, first.points), first) << scale;
        }
}

TEST(ScreenRegion, needsAPixelOfTheDisplay)
{
    for (DesktopRect const& none :
         {DesktopRect{0, 0, 0, 10}, DesktopRect{0, 0, 10, -1}, DesktopRect{800, 0, 10, 10},
          DesktopRect{0, 600, 10, 10}, DesktopRect{-10, 0, 10, 10}, DesktopRect{}})
        EXPECT_EQ(errorOf([&] { ScreenRegion::of(display(800, 600), none); }), AgentError::invalidRequest);
    EXPECT_EQ(errorOf([] { ScreenRegion::of(display(0, 0), {0, 0, 10, 10}); }), AgentError::invalidRequest);
}

} // namespace
} // namespace zelvo
