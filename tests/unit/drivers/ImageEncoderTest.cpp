#include "drivers/ImageEncoder.h"

#include "DecodedImage.h"
#include "fakes/ErrorOf.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace zelvo {
namespace {

void paint(Picture& picture, int x, int y, std::array<int, 3> rgb)
{
    std::uint8_t* const pixel = picture.pixels.data() + static_cast<std::size_t>(y) * picture.stride +
                                static_cast<std::size_t>(x) * 4;
    pixel[0] = static_cast<std::uint8_t>(rgb[2]);
    pixel[1] = static_cast<std::uint8_t>(rgb[1]);
    pixel[2] = static_cast<std::uint8_t>(rgb[0]);
}

/// A picture whose unused bytes, in each pixel and after each row, contain noise that must not show.
Picture noisy(int width, int height, int gap = 0)
{
    Picture picture{.width = width, .height = height, .stride = width * 4 + gap, .pixels = PixelBuffer()};
    picture.pixels = PixelBuffer(static_cast<std::size_t>(picture.stride) * height);
    for (std::size_t i = 0; i < picture.pixels.size(); ++i)
        picture.pixels[i] = static_cast<std::uint8_t>(i * 37 + 11);
    return picture;
}

/// The colour of a pixel. It differs from its neighbours, and its channels differ from each other.
std::array<int, 3> colourAt(int x, int y)
{
    return {(x * 7) % 256, (y * 5) % 256, (x * 3 + y * 11) % 256};
}

Picture colourful(int width, int height, int gap = 0)
{
    Picture picture = noisy(width, height, gap);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            paint(picture, x, y, colourAt(x, y));
    return picture;
}

/// Four large fields of one colour each, which a lossy format preserves.
constexpr std::array<std::array<int, 3>, 4> fieldColours = {
    {{230, 30, 40}, {30, 200, 60}, {40, 60, 220}, {240, 240, 240}}};

Picture fields(int size, int gap = 0)
{
    Picture picture = noisy(size, size, gap);
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            paint(picture, x, y, fieldColours.at((y < size / 2 ? 0 : 2) + (x < size / 2 ? 0 : 1)));
    return picture;
}

void expectNear(std::array<int, 3> actual, std::array<int, 3> expected, int tolerance)
{
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_LE(std::abs(actual.at(i) - expected.at(i)), tolerance) << "channel " << i;
}

void expectFields(DecodedImage const& image, int size, int tolerance)
{
    ASSERT_EQ(image.width, size);
    ASSERT_EQ(image.height, size);
    int const near = size / 4;
    int const far = size - size / 4;
    expectNear(image.at(near, near), fieldColours[0], tolerance);
    expectNear(image.at(far, near), fieldColours[1], tolerance);
    expectNear(image.at(near, far), fieldColours[2], tolerance);
    expectNear(image.at(far, far), fieldColours[3], tolerance);
}

void expectColourful(DecodedImage const& image, int width, int height)
{
    ASSERT_EQ(image.width, width);
    ASSERT_EQ(image.height, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            ASSERT_EQ(image.at(x, y), colourAt(x, y)) << x << ", " << y;
}

TEST(ImageEncoder, keepsEveryPixelInAPng)
{
    expectColourful(DecodedImage::png(imageEncoder::png(colourful(61, 47))), 61, 47);
}

TEST(ImageEncoder, passesOverTheGapsBetweenTheRowsOfAPng)
{
    for (int const gap : {1, 3, 4, 60})
        expectColourful(DecodedImage::png(imageEncoder::png(colourful(13, 9, gap))), 13, 9);
}

TEST(ImageEncoder, keepsTheColoursInAJpeg)
{
    expectFields(DecodedImage::jpeg(imageEncoder::jpeg(fields(64), 90)), 64, 6);
}

TEST(ImageEncoder, passesOverTheGapsBetweenTheRowsOfAJpeg)
{
    for (int const gap : {1, 3, 4, 60})
        expectFields(DecodedImage::jpeg(imageEncoder::jpeg(fields(64, gap), 90)), 64, 6);
}

TEST(ImageEncoder, encodesOddSizesAsJpeg)
{
    DecodedImage const image = DecodedImage::jpeg(imageEncoder::jpeg(colourful(61, 47, 2), 80));

    EXPECT_EQ(image.width, 61);
    EXPECT_EQ(image.height, 47);
}

TEST(ImageEncoder, encodesASinglePixel)
{
    Picture dot = noisy(1, 1);
    paint(dot, 0, 0, {200, 100, 50});

    DecodedImage const png = DecodedImage::png(imageEncoder::png(dot));
    DecodedImage const jpeg = DecodedImage::jpeg(imageEncoder::jpeg(dot, 100));

    ASSERT_EQ(png.pixels.size(), 3u);
    EXPECT_EQ(png.at(0, 0), (std::array{200, 100, 50}));
    ASSERT_EQ(jpeg.pixels.size(), 3u);
    expectNear(jpeg.at(0, 0), {200, 100, 50}, 4);
}

TEST(ImageEncoder, encodesSinglePixelRowsAndColumns)
{
    for (auto const [width, height] : {std::pair(300, 1), std::pair(1, 300)}) {
        expectColourful(DecodedImage::png(imageEncoder::png(colourful(width, height))), width, height);
        DecodedImage const jpeg = DecodedImage::jpeg(imageEncoder::jpeg(colourful(width, height), 80));
        EXPECT_EQ(jpeg.width, width);
        EXPECT_EQ(jpeg.height, height);
    }
}

TEST(ImageEncoder, makesAJpegSmallerAndCoarserAtALowerQuality)
{
    Picture const picture = colourful(200, 200);

    std::size_t const coarse = imageEncoder::jpeg(picture, 10).size();
    std::size_t const usual = imageEncoder::jpeg(picture, 80).size();
    std::size_t const fine = imageEncoder::jpeg(picture, 100).size();

    EXPECT_LT(coarse, usual);
    EXPECT_LT(usual, fine);
}

TEST(ImageEncoder, takesAQualityBeyondTheRangeForTheNearest)
{
    Picture const picture = colourful(40, 40);

    EXPECT_EQ(imageEncoder::jpeg(picture, 0), imageEncoder::jpeg(picture, 1));
    EXPECT_EQ(imageEncoder::jpeg(picture, -1), imageEncoder::jpeg(picture, 0));
    EXPECT_EQ(imageEncoder::jpeg(picture, INT64_MIN), imageEncoder::jpeg(picture, 0));
    EXPECT_EQ(imageEncoder::jpeg(picture, 101), imageEncoder::jpeg(picture, 100));
    EXPECT_EQ(imageEncoder::jpeg(picture, INT64_MAX), imageEncoder::jpeg(picture, 100));
}

TEST(ImageEncoder, failsForAPictureWithoutAnExtent)
{
    for (auto const [width, height] :
         {std::pair(0, 0), std::pair(0, 5), std::pair(5, 0), std::pair(-1, -1)}) {
        Picture picture;
        picture.width = width;
        picture.height = height;
        EXPECT_EQ(errorOf([&] { imageEncoder::jpeg(picture, 80); }), AgentError::internalError);
        EXPECT_EQ(errorOf([&] { imageEncoder::png(picture); }), AgentError::internalError);
    }
}

TEST(ImageEncoder, failsForATooLargeJpegAndStillEncodesOthers)
{
    Picture const wide = noisy(70'000, 1);

    EXPECT_EQ(errorOf([&] { imageEncoder::jpeg(wide, 80); }), AgentError::internalError);
    EXPECT_EQ(DecodedImage::png(imageEncoder::png(wide)).width, 70'000);
    expectFields(DecodedImage::jpeg(imageEncoder::jpeg(fields(32), 90)), 32, 6);
}

} // namespace
} // namespace zelvo
