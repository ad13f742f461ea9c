#include "platform/portable/net/MessageAssembly.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zelvo {

namespace {

/// Passes a text through the assembly as a reader would, in pieces of at most `piece` bytes.
std::string assembled(MessageAssembly& assembly, std::string const& text, std::size_t piece)
{
    std::size_t done = 0;
    while (done < text.size()) {
        auto const room = assembly.room(assembly.size() == 0 ? 0 : text.size() - done);
        auto const count = std::min({piece, room.size(), text.size() - done});
        std::copy_n(text.begin() + static_cast<std::ptrdiff_t>(done), count, room.begin());
        assembly.filled(count);
        done += count;
    }
    EXPECT_EQ(assembly.size(), text.size());
    return assembly.take();
}

std::string pattern(std::size_t size)
{
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        text[i] = static_cast<char>('a' + i % 23);
    return text;
}

TEST(MessageAssembly, putsMessagesOfAnySizeTogether)
{
    MessageAssembly assembly;

    for (std::size_t const size : {0U, 1U, 16383U, 16384U, 16385U, 300'000U, 2'000'000U})
        for (std::size_t const piece : {1000U, 16384U, 1'000'000U})
            EXPECT_EQ(assembled(assembly, pattern(size), piece), pattern(size)) << size << " by " << piece;
}

TEST(MessageAssembly, growsWithWhatComesAndNotWithWhatIsAnnounced)
{
    MessageAssembly assembly;
    assembly.filled(0);
    assembly.room(0)[0] = 'x';
    assembly.filled(1);

    auto const room = assembly.room(std::size_t{190} << 20);

    EXPECT_LE(room.size(), std::size_t{256} << 10);
}

} // namespace

} // namespace zelvo
