#include "ZelvoGateway/mcp/tools/ToolText.h"

#include "ZelvoGateway/mcp/tools/ScreenSpace.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

TEST(ToolText, countsWhatATextCosts)
{
    EXPECT_EQ(tooltext::costOf("abc"), 3U);
    EXPECT_EQ(tooltext::costOf("\xc3\xa9\xf0\x9f\x98\x80"), 4U);
}

TEST(ToolText, cutsBetweenCodePoints)
{
    EXPECT_EQ(tooltext::prefixOfCost("a\xc3\xa9z", 2), "a");
    EXPECT_EQ(tooltext::prefixOfCost("a\xc3\xa9z", 3), "a\xc3\xa9");
    EXPECT_EQ(tooltext::suffixOfCost("a\xc3\xa9z", 2), "z");
    EXPECT_EQ(tooltext::suffixOfCost("a\xc3\xa9z", 3), "\xc3\xa9z");
    EXPECT_EQ(tooltext::suffixOfCost("abc", 0), "");
}

TEST(ToolText, keepsLinesButNoControls)
{
    EXPECT_EQ(tooltext::plainLines("a\r\n\tb\x01\xe2\x80\xa8\xe2\x81\xa6"
                                   "c\n"),
              "a\n\tbc\n");
    EXPECT_EQ(tooltext::plainLines("\x1b[1;31mred\x1b[0m"), "red");
    EXPECT_EQ(tooltext::plainLines("\x1b]8;;http://x\x1b\\link\x1b"), "link");
    EXPECT_EQ(tooltext::plainLines("\x1b[12"), "");
    EXPECT_EQ(tooltext::plainLines("\x1b]never"), "");
}

TEST(ToolText, saysHowMuchIsLeftOut)
{
    EXPECT_EQ(tooltext::headAndTail("abcdef", 6), "abcdef");
    EXPECT_EQ(tooltext::headAndTail("abcdefg", 6), "abc\n… 1 character left out …\nefg");
    EXPECT_EQ(tooltext::headAndTail("abc", 0), "\n… 3 characters left out …\n");
}

TEST(ToolText, boundsAnAnswer)
{
    tooltext::Answer answer;
    answer.first("heading");
    for (int i = 0; i < 2000; ++i)
        answer.add(std::string(99, 'x'));
    answer.holdsData();

    std::string const text = answer.text();

    EXPECT_LE(tooltext::costOf(text), tooltext::maxCost);
    EXPECT_NE(text.find("more lines left out: the answer is too long\nTexts from the computer"),
              std::string::npos);
    EXPECT_EQ(text.substr(0, 10), "heading\nxx");
}

TEST(ScreenSpace, boundsEdgesAndArea)
{
    auto const widthOf = [](DisplaySize size, PictureLimits limits = {}) {
        return wholeDisplay(size, limits).shownSize();
    };

    EXPECT_EQ(widthOf({.width = 1000, .height = 800}), (DisplaySize{.width = 1000, .height = 800}));
    EXPECT_EQ(widthOf({.width = 1600, .height = 900}), (DisplaySize{.width = 1429, .height = 804}));
    EXPECT_EQ(widthOf({.width = 7680, .height = 4320}), (DisplaySize{.width = 1429, .height = 804}));
    EXPECT_EQ(widthOf({.width = 5000, .height = 500}), (DisplaySize{.width = 1568, .height = 157}));
    EXPECT_EQ(widthOf({.width = 500, .height = 5000}), (DisplaySize{.width = 156, .height = 1560}));
    EXPECT_EQ(widthOf({.width = 1600, .height = 900}, PictureLimits::forWidth(1280)),
              (DisplaySize{.width = 1280, .height = 720}));
    EXPECT_EQ(widthOf({.width = 7680, .height = 4320}, PictureLimits::forWidth(100'000)),
              (DisplaySize{.width = 2000, .height = 1125}));
    EXPECT_EQ(widthOf({.width = 1, .height = 1'000'000}), (DisplaySize{.width = 1, .height = 1'000'000}));
}

TEST(ScreenSpace, translatesThereAndBack)
{
    ScreenSpace const space{
        .scale = 0.5, .origin = {.x = 100, .y = 50}, .size = {.width = 200, .height = 100}};

    EXPECT_EQ(space.toShown(SeenFrame{.x = 120, .y = 60, .w = 10, .h = 20}),
              (SeenFrame{.x = 10, .y = 5, .w = 5, .h = 10}));
    EXPECT_EQ(space.toPoints(SeenFrame{.x = 10, .y = 5, .w = 5, .h = 10}),
              (SeenFrame{.x = 120, .y = 60, .w = 10, .h = 20}));
    EXPECT_EQ(space.toPoints(ScreenPoint{.x = 10, .y = 5}), (ScreenPoint{.x = 120, .y = 60}));
    EXPECT_TRUE(space.contains({.x = 300, .y = 150}));
    EXPECT_FALSE(space.contains({.x = 99, .y = 60}));
    EXPECT_TRUE(ScreenSpace().contains({.x = -5, .y = 1e9}));
}

} // namespace
} // namespace zelvo::service
