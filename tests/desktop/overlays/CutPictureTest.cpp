#include "platform/linux/x11/overlays/CutPicture.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

constexpr std::uint32_t none = 0;
constexpr std::uint32_t faint = 0x7f7f0000; // Red at not quite half.
constexpr std::uint32_t red = 0x80800000;   // Red at half.
constexpr std::uint32_t solid = 0xff102030;

OverlayPicture pictureOf(int width, std::vector<std::uint32_t> pixels)
{
    int const height = static_cast<int>(pixels.size()) / width;
    return {.width = width, .height = height, .pixels = std::move(pixels)};
}

using Shape = std::vector<PixelRect>;

TEST(CutPicture, keepsWhatIsAtLeastHalfOpaqueInItsFullColour)
{
    CutPicture const cut = cutPicture(pictureOf(4, {none, faint, red, solid}));

    EXPECT_EQ(cut.shape, Shape({{2, 0, 2, 1}}));
    EXPECT_EQ(cut.pixels, std::vector<std::uint32_t>({0, 0, 0xff0000, 0x102030}));
}

TEST(CutPicture, hasOnePartForEqualRows)
{
    CutPicture const cut = cutPicture(pictureOf(3, {solid, none, solid, //
                                                    solid, none, solid, //
                                                    none, solid, none,  //
                                                    none, none, none,   //
                                                    none, solid, none}));

    EXPECT_EQ(cut.shape, Shape({{0, 0, 1, 2}, {2, 0, 1, 2}, {1, 2, 1, 1}, {1, 4, 1, 1}}));
}

TEST(CutPicture, isNothingWhereNothingIsDrawn)
{
    EXPECT_TRUE(cutPicture(pictureOf(2, {none, faint})).shape.empty());
}

TEST(CutPicture, neverExceedsAColourThatIsBrighterThanItsOpacity)
{
    EXPECT_EQ(cutPicture(pictureOf(1, {0x80ff0000})).pixels.front(), 0xff0000u);
}

} // namespace
} // namespace zelvo
