#include "platform/linux/wayland/portal/EisGreeting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace zelvo {
namespace {

/// The first `length` bytes of messages, each given by object, length and opcode, and filled with zeros.
EisGreeting greeting(std::vector<std::vector<std::uint32_t>> const& messages, std::size_t length = 1 << 20)
{
    std::vector<std::uint32_t> words;
    for (auto const& message : messages) {
        std::size_t const end = words.size() + message[1] / 4;
        words.insert(words.end(), {message[0], 0, message[1], message[2]});
        words.resize(std::max(words.size(), std::min<std::size_t>(end, 4096)));
    }
    auto const bytes = std::as_bytes(std::span(words));
    return eisGreetingIn(bytes.first(std::min(length, bytes.size())));
}

TEST(EisGreeting, isOverWithTheConnection)
{
    EXPECT_EQ(greeting({}), EisGreeting::ongoing);
    EXPECT_EQ(greeting({{0, 20, 0}, {0, 48, 1}}), EisGreeting::ongoing);
    EXPECT_EQ(greeting({{0, 48, 1}, {0, 32, 2}, {9, 16, 77}}), EisGreeting::over);
}

TEST(EisGreeting, isOngoingInEachPlaceBeforeItsEnd)
{
    for (std::size_t length = 0; length < 20 + 32; ++length)
        EXPECT_EQ(greeting({{0, 20, 0}, {0, 32, 2}}, length), EisGreeting::ongoing) << length;
    EXPECT_EQ(greeting({{0, 20, 0}, {0, 32, 2}}, 20 + 32), EisGreeting::over);
}

TEST(EisGreeting, mayBeginBeforeWhatIsSeen)
{
    EXPECT_EQ(greeting({{1, 24, 0}}), EisGreeting::ongoing);
    EXPECT_EQ(greeting({{1, 24, 77}, {0, 20, 3}}), EisGreeting::ongoing);
}

TEST(EisGreeting, refusesWhatItIsNot)
{
    EXPECT_EQ(greeting({{0xFFFFFFFF, 20, 0}}), EisGreeting::invalid) << "an object that cannot be";
    EXPECT_EQ(greeting({{0, 20, 3}}), EisGreeting::invalid) << "another message";
    EXPECT_EQ(greeting({{0, 8, 0}}), EisGreeting::invalid) << "shorter than its beginning";
    EXPECT_EQ(greeting({{0, 1028, 1}}), EisGreeting::invalid);
    EXPECT_EQ(greeting({{0, 0xFFFFFFFF, 0}}), EisGreeting::invalid);
    EXPECT_EQ(greeting({{0, 20, 0}, {0, 20, 3}}), EisGreeting::invalid) << "not only the first one counts";
}

} // namespace
} // namespace zelvo
