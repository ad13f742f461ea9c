#include "platform/linux/applications/WindowTitle.h"

#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

constexpr bool latin1 = true;
constexpr bool cut = true;

TEST(WindowTitle, isTakenAsItIs)
{
    EXPECT_EQ(windowTitle("Заметки — 1", !latin1, !cut), "Заметки — 1");
    EXPECT_EQ(windowTitle("Заметки", latin1, !cut), "Заметки"); // Many call UTF-8 so.
    EXPECT_EQ(windowTitle("", !latin1, !cut), "");
    EXPECT_EQ(windowTitle("plain", !latin1, cut), "plain");
}

TEST(WindowTitle, isReadAsLatin1WhereItMustBe)
{
    EXPECT_EQ(windowTitle("caf\xe9", latin1, !cut), "café");
    EXPECT_EQ(windowTitle("\xe9t\xe9", latin1, !cut), "été");
}

TEST(WindowTitle, isRepaired)
{
    EXPECT_EQ(windowTitle("a\xff"
                          "b",
                          !latin1, !cut),
              "a\xef\xbf\xbd"
              "b");
}

TEST(WindowTitle, losesHalfACharacterWhereItWasCut)
{
    EXPECT_EQ(windowTitle("ab\xd0", !latin1, cut), "ab");
    EXPECT_EQ(windowTitle("ab\xe2\x80", !latin1, cut), "ab");
    EXPECT_EQ(windowTitle("ab\xf0\x9f\x98", !latin1, cut), "ab");
    EXPECT_EQ(windowTitle("ab\xd0\xb0", !latin1, cut), "abа");
    EXPECT_EQ(windowTitle("ab\xd0", latin1, cut), "ab");
    EXPECT_EQ(windowTitle("\xd0", !latin1, cut), "");
}

} // namespace
} // namespace zelvo::test
