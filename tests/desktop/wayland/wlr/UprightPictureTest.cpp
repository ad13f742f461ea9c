#include "platform/linux/wayland/wlr/UprightPicture.h"

#include <gtest/gtest.h>

#include <wayland-client-protocol.h>

#include <string>
#include <vector>

namespace zelvo::test {
namespace {

/// A frame of three columns and two rows, "abc" above "def", one letter in all colours of a pixel.
class Letters {
public:
    explicit Letters(int transform, bool isBottomFirst = false)
    {
        frame.format = WL_SHM_FORMAT_XRGB8888;
        frame.width = 3;
        frame.height = 2;
        frame.stride = 16; // with padding
        frame.transform = transform;
        frame.isBottomFirst = isBottomFirst;
        bytes.resize(32, '?');
        for (std::size_t i = 0; i < 6; ++i)
            for (std::size_t part = 0; part < 4; ++part)
                bytes[i / 3 * 16 + i % 3 * 4 + part] = static_cast<std::uint8_t>('a' + i);
    }

    /// The upright picture, a line a row.
    std::string shown()
    {
        Picture const picture = uprightPicture(frame, bytes, nullptr);
        std::string text;
        for (int y = 0; y < picture.height; ++y) {
            for (int x = 0; x < picture.width; ++x)
                text +=
                    static_cast<char>(picture.pixels[static_cast<std::size_t>(y * picture.stride + x * 4)]);
            text += '\n';
        }
        return text;
    }

    RawFrame frame;
    std::vector<std::uint8_t> bytes;
};

TEST(UprightPicture, turnsTheFrame)
{
    EXPECT_EQ(Letters(WL_OUTPUT_TRANSFORM_NORMAL).shown(), "abc\ndef\n");
    EXPECT_EQ(Letters(WL_OUTPUT_TRANSFORM_180).shown(), "fed\ncba\n");
    EXPECT_EQ(Letters(WL_OUTPUT_TRANSFORM_FLIPPED).shown(), "cba\nfed\n");
    EXPECT_EQ(Letters(WL_OUTPUT_TRANSFORM_FLIPPED_180).shown(), "def\nabc\n");
    EXPECT_EQ(Letters(WL_OUTPUT_TRANSFORM_90).shown(), "da\neb\nfc\n");
    EXPECT_EQ(Letters(WL_OUTPUT_TRANSFORM_270).shown(), "cf\nbe\nad\n");
    EXPECT_EQ(Letters(WL_OUTPUT_TRANSFORM_FLIPPED_90).shown(), "ad\nbe\ncf\n");
    EXPECT_EQ(Letters(WL_OUTPUT_TRANSFORM_FLIPPED_270).shown(), "fc\neb\nda\n");
}

TEST(UprightPicture, turnsAFrameWithItsRowsUpsideDown)
{
    EXPECT_EQ(Letters(WL_OUTPUT_TRANSFORM_NORMAL, true).shown(), "def\nabc\n");
    EXPECT_EQ(Letters(WL_OUTPUT_TRANSFORM_180, true).shown(), "cba\nfed\n");
}

TEST(UprightPicture, lendsWhatIsUprightAlready)
{
    Letters letters(WL_OUTPUT_TRANSFORM_NORMAL);
    auto const owner = std::make_shared<int>();

    {
        Picture const picture = uprightPicture(letters.frame, letters.bytes, owner);
        EXPECT_EQ(picture.pixels.data(), letters.bytes.data());
        EXPECT_EQ(picture.stride, 16);
        EXPECT_EQ(owner.use_count(), 2);
    }
    EXPECT_EQ(owner.use_count(), 1);
}

TEST(UprightPicture, readsEachFormat)
{
    struct Sample {
        std::uint32_t format;
        std::vector<std::uint8_t> pixel;
    };
    for (Sample sample :
         {Sample{WL_SHM_FORMAT_ARGB8888, {1, 2, 3, 9}}, Sample{WL_SHM_FORMAT_XBGR8888, {3, 2, 1, 9}},
          Sample{WL_SHM_FORMAT_ABGR8888, {3, 2, 1, 9}}, Sample{WL_SHM_FORMAT_RGB888, {1, 2, 3}},
          Sample{WL_SHM_FORMAT_BGR888, {3, 2, 1}}}) {
        RawFrame const frame{.format = sample.format, .width = 1, .height = 1, .stride = 4};
        Picture const picture = uprightPicture(frame, sample.pixel, nullptr);
        EXPECT_EQ(picture.pixels[0], 1) << sample.format;
        EXPECT_EQ(picture.pixels[1], 2) << sample.format;
        EXPECT_EQ(picture.pixels[2], 3) << sample.format;
    }
}

TEST(BytesOf, refusesWhatNoScreenHas)
{
    auto const bytes = [](std::uint32_t format, int width, int height, int stride) {
        return bytesOf({.format = format, .width = width, .height = height, .stride = stride});
    };

    EXPECT_EQ(bytes(WL_SHM_FORMAT_XRGB8888, 10, 20, 48), 960u);
    EXPECT_EQ(bytes(WL_SHM_FORMAT_BGR888, 10, 20, 30), 600u);
    EXPECT_FALSE(bytes(WL_SHM_FORMAT_XRGB8888, 10, 20, 39));
    EXPECT_FALSE(bytes(WL_SHM_FORMAT_XRGB8888, 0, 20, 40));
    EXPECT_FALSE(bytes(WL_SHM_FORMAT_XRGB8888, 10, 1 << 30, 40));
    EXPECT_FALSE(bytes(WL_SHM_FORMAT_XRGB8888, 1 << 30, 1, 1 << 30));
    EXPECT_FALSE(bytes(WL_SHM_FORMAT_XRGB8888, 32768, 32768, 32768 * 4));
    EXPECT_FALSE(bytes(WL_SHM_FORMAT_YUV420, 10, 20, 40));
}

} // namespace
} // namespace zelvo::test
