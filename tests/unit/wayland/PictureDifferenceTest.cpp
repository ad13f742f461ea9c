#include "platform/portable/pictures/PictureDifference.h"

#include "platform/portable/pictures/PicturePart.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

Picture blank(int width, int height)
{
    Picture picture{.width = width, .height = height, .stride = width * 4};
    picture.pixels = PixelBuffer(static_cast<std::size_t>(picture.stride) * static_cast<std::size_t>(height));
    return picture;
}

TEST(PictureDifference, isNothingForEqualPictures)
{
    EXPECT_TRUE(differenceOf(blank(100, 70), blank(100, 70)).empty());
}

TEST(PictureDifference, isTheSquaresThatDiffer)
{
    Picture after = blank(100, 70);
    fill(after, {40, 33, 1, 1}, 0xFFFFFF);
    fill(after, {99, 69, 1, 1}, 0xFFFFFF);

    auto const parts = differenceOf(blank(100, 70), after);

    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0], (DisplayPart{32, 32, 32, 32}));
    EXPECT_EQ(parts[1], (DisplayPart{96, 64, 4, 6}));
}

TEST(PictureDifference, joinsNeighboursInARow)
{
    Picture after = blank(200, 32);
    fill(after, {30, 0, 40, 2}, 0xFFFFFF);

    EXPECT_EQ(differenceOf(blank(200, 32), after), (std::vector<DisplayPart>{{0, 0, 96, 32}}));
}

TEST(PictureDifference, isEverythingForAnotherSize)
{
    EXPECT_EQ(differenceOf(blank(10, 10), blank(20, 10)), (std::vector<DisplayPart>{{0, 0, 20, 10}}));
}

TEST(PicturePart, keepsItsPixelsAndTheStride)
{
    Picture whole = blank(50, 40);
    fill(whole, {10, 20, 5, 6}, 0x00ABCDEF);

    Picture const part = partOf(std::move(whole), {10, 20, 5, 6});

    EXPECT_EQ(part.width, 5);
    EXPECT_EQ(part.height, 6);
    EXPECT_EQ(part.stride, 200);
    for (int y = 0; y < part.height; ++y)
        for (int x = 0; x < part.width; ++x)
            EXPECT_EQ(part.pixels[static_cast<std::size_t>(y) * 200 + static_cast<std::size_t>(x) * 4], 0xEF);
}

TEST(PicturePart, fillsOnlyInsideOfThePicture)
{
    Picture picture = blank(10, 10);

    fill(picture, {-5, -5, 8, 8}, 1);
    fill(picture, {8, 8, 100, 100}, 2);
    fill(picture, {20, 20, 5, 5}, 3);

    EXPECT_EQ(picture.pixels[0], 1);
    EXPECT_EQ(picture.pixels[(2 * 10 + 2) * 4], 1);
    EXPECT_EQ(picture.pixels[(3 * 10 + 3) * 4], 0);
    EXPECT_EQ(picture.pixels[(9 * 10 + 9) * 4], 2);
}

} // namespace
} // namespace zelvo
