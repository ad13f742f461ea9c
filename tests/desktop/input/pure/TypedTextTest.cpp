#include "platform/linux/input/TypedText.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

TEST(TypedText, makesEachLineEndOneReturn)
{
    EXPECT_EQ(typedCharacters("a\nb\rc\r\nd\n\re"), U"a\nb\nc\nd\n\ne");
    EXPECT_EQ(typedCharacters("\r\n\r\n"), U"\n\n");
}

TEST(TypedText, keepsTabsAndLeavesOutOtherControls)
{
    using namespace std::string_view_literals;

    EXPECT_EQ(typedCharacters("a\tb\0c\x1B[d\x7F\x08 e\xC2\x85"sv), U"a\tbc[d e");
}

TEST(TypedText, keepsJoinersAndSelectors)
{
    EXPECT_EQ(typedCharacters("👩‍💻❤️"), U"\U0001F469\u200D\U0001F4BB\u2764\uFE0F");
}

TEST(TypedText, survivesIllFormedBytes)
{
    EXPECT_EQ(typedCharacters("a\xFF\xC3z\xE4\xB8"), U"az");
    EXPECT_EQ(typedCharacters(""), U"");
}

} // namespace
} // namespace zelvo
