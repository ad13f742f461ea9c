#include "platform/linux/wayland/kwin/KwinImage.h"

#include <gtest/gtest.h>

#include <cstring>

namespace zelvo {

namespace {

BusDictionary reply()
{
    return {{"type", std::string("raw")}, {"width", std::int64_t{2}},  {"height", std::int64_t{2}},
            {"stride", std::int64_t{12}}, {"format", std::int64_t{6}}, {"scale", 1.5}};
}

TEST(KwinImage, readsTheHeader)
{
    auto const header = kwinImageHeader(reply());

    ASSERT_TRUE(header);
    EXPECT_EQ(*header, (KwinImageHeader{.width = 2, .height = 2, .stride = 12, .scale = 1.5}));
}

TEST(KwinImage, refusesSizesAndFormatsOutOfBounds)
{
    auto const isRefused = [](char const* name, BusValue value) {
        BusDictionary changed = reply();
        changed[name] = std::move(value);
        return !kwinImageHeader(changed);
    };
    EXPECT_TRUE(isRefused("type", std::string("png")));
    EXPECT_TRUE(isRefused("width", std::int64_t{0}));
    EXPECT_TRUE(isRefused("width", std::int64_t{4})); // More than the stride has.
    EXPECT_TRUE(isRefused("width", std::int64_t{1} << 40));
    EXPECT_TRUE(isRefused("height", std::int64_t{-1}));
    EXPECT_TRUE(isRefused("height", std::int64_t{40000}));
    EXPECT_TRUE(isRefused("stride", std::int64_t{1} << 60));
    EXPECT_TRUE(isRefused("format", std::int64_t{3}));
    EXPECT_TRUE(isRefused("format", std::int64_t{7}));
    EXPECT_TRUE(isRefused("scale", 0.0));
    EXPECT_TRUE(isRefused("scale", std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(kwinImageHeader({}));
}

TEST(KwinImage, removesGapsAndTurnsRgbaAround)
{
    KwinImageHeader const header{.width = 1, .height = 2, .stride = 8, .isRgba = true, .isOpaque = true};
    PixelBuffer bytes(header.size());
    std::uint8_t const given[] = {1, 2, 3, 0, 9, 9, 9, 9, 4, 5, 6, 0, 9, 9, 9, 9};
    std::memcpy(bytes.data(), given, sizeof given);

    KwinImage const image = kwinImage(header, std::move(bytes));

    std::uint8_t const wanted[] = {3, 2, 1, 255, 6, 5, 4, 255};
    EXPECT_EQ(std::memcmp(image.pixels.data(), wanted, sizeof wanted), 0);
}

} // namespace

} // namespace zelvo
