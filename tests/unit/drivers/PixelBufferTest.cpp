#include "platform/PixelBuffer.h"

#include <gtest/gtest.h>

#include <array>

namespace zelvo {
namespace {

TEST(PixelBuffer, beginsAsZeroes)
{
    PixelBuffer const buffer(1000);

    ASSERT_EQ(buffer.size(), 1000u);
    for (std::size_t i = 0; i < buffer.size(); ++i)
        ASSERT_EQ(buffer[i], 0);
    EXPECT_EQ(PixelBuffer().size(), 0u);
    EXPECT_EQ(PixelBuffer(0).size(), 0u);
}

TEST(PixelBuffer, handsItsBytesOnWithoutACopy)
{
    PixelBuffer first(10);
    first[3] = 7;
    auto const* const bytes = first.data();

    PixelBuffer second(std::move(first));
    EXPECT_EQ(second.data(), bytes);
    PixelBuffer third(20);
    third = std::move(second);

    EXPECT_EQ(third.data(), bytes);
    EXPECT_EQ(third.size(), 10u);
    EXPECT_EQ(third[3], 7);
    // A moved-from buffer is empty. NOLINTNEXTLINE(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(second.size(), 0u);
}

TEST(PixelBuffer, keepsWhatItWasLentUntilItEnds)
{
    std::array<std::uint8_t, 4> memory{1, 2, 3, 4};
    int returned = 0;
    auto const lend = [&] {
        return PixelBuffer(memory, std::shared_ptr<void>(memory.data(), [&](void*) { ++returned; }));
    };
    {
        PixelBuffer buffer = lend();
        PixelBuffer const other(std::move(buffer));
        buffer = PixelBuffer();
        EXPECT_EQ(returned, 0);
        EXPECT_EQ(other[2], 3);
    }
    EXPECT_EQ(returned, 1);

    PixelBuffer buffer = lend();
    buffer = PixelBuffer(1); // The old memory is returned at once.
    EXPECT_EQ(returned, 2);
}

} // namespace
} // namespace zelvo
