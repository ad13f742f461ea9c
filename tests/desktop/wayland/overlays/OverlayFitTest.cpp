#include "platform/linux/wayland/overlays/OverlayFit.h"

#include "platform/OverlayWindows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zelvo {

namespace {

TEST(OverlayFit, isThePictureAtScaleOne)
{
    OverlayPicture const picture{.width = 10, .height = 20, .originX = 3, .originY = 4};

    OverlayFit const fit = fitOverlay(picture, {100.7, 50}, 1);

    EXPECT_EQ(fit,
              (OverlayFit{
                  .left = 97, .top = 46, .width = 10, .height = 20, .bufferWidth = 10, .bufferHeight = 20}));
}

TEST(OverlayFit, shiftsThePictureToThePixelOfThePlace)
{
    OverlayPicture const picture{.width = 7, .height = 7, .originX = 2, .originY = 3};

    for (double const scale : {1.0, 1.25, 1.5, 2.0, 2.75})
        for (double place = -20; place < 40; place += 0.3) {
            OverlayFit const fit = fitOverlay(picture, {place, place}, scale);
            int const pixel = static_cast<int>(std::floor(place * scale));
            EXPECT_EQ(std::lround(fit.left * scale) + fit.shiftX, pixel - 2) << place << " " << scale;
            EXPECT_EQ(std::lround(fit.top * scale) + fit.shiftY, pixel - 3) << place << " " << scale;
            EXPECT_LE(fit.shiftX + 7, fit.bufferWidth);
            EXPECT_NEAR(fit.bufferWidth, fit.width * scale, 1);
        }
}

TEST(OverlayFit, survivesPlacesThatAreNone)
{
    OverlayPicture const picture{.width = 1, .height = 1};

    EXPECT_EQ(fitOverlay(picture, {std::numeric_limits<double>::quiet_NaN(), 0}, 1).left, 0);
    EXPECT_GT(fitOverlay(picture, {std::numeric_limits<double>::infinity(), 0}, 1).left, 1000);
}

TEST(OverlayFit, knowsWhatNeedsNoDrawing)
{
    OverlayPicture const picture{.width = 10, .height = 10};
    OverlayFit const fit = fitOverlay(picture, {10, 10}, 2);

    EXPECT_TRUE(fit.looksLike(fitOverlay(picture, {15, 11}, 2)));
    EXPECT_FALSE(fit.looksLike(fitOverlay(picture, {15.5, 11}, 2)));
}

} // namespace

} // namespace zelvo
