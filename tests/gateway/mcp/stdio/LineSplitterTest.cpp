#include "ZelvoGateway/mcp/stdio/LineSplitter.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

using Line = LineSplitter::Line;
using Lines = std::vector<Line>;

Line const tooLong{.text = {}, .isTooLong = true};

TEST(LineSplitter, cutsAtLineEnds)
{
    LineSplitter splitter(10);

    EXPECT_EQ(splitter.add("a\nb\r\n\nc"), (Lines{{"a"}, {"b"}, {""}}));
    EXPECT_EQ(splitter.add(""), Lines());
    EXPECT_EQ(splitter.add("d\n"), (Lines{{"cd"}}));
    EXPECT_EQ(splitter.rest(), std::nullopt);
}

TEST(LineSplitter, joinsPiecesOfAnySize)
{
    std::string const text = "first\r\nsecond\n\nthird\r";
    for (std::size_t size = 1; size <= text.size(); ++size) {
        LineSplitter splitter(10);
        Lines all;
        for (std::size_t at = 0; at < text.size(); at += size)
            for (Line& line : splitter.add(std::string_view(text).substr(at, size)))
                all.push_back(std::move(line));
        EXPECT_EQ(all, (Lines{{"first"}, {"second"}, {""}})) << size;
        EXPECT_EQ(splitter.rest(), Line{"third"}) << size;
    }
}

TEST(LineSplitter, keepsALineOfFullLength)
{
    LineSplitter splitter(3);

    EXPECT_EQ(splitter.add("abc\nabc\r\n"), (Lines{{"abc"}, {"abc"}}));
    EXPECT_EQ(splitter.add("abcd\nx\n"), (Lines{tooLong, {"x"}}));
    EXPECT_EQ(splitter.add("abcd\r\nx\n"), (Lines{tooLong, {"x"}}));
}

TEST(LineSplitter, keepsNothingOfALineThatIsTooLong)
{
    LineSplitter splitter(3);

    EXPECT_EQ(splitter.add("aaaaaaaaa"), Lines());
    EXPECT_EQ(splitter.add("aa"), Lines());
    EXPECT_EQ(splitter.add("\nb\n"), (Lines{tooLong, {"b"}}));
    splitter.add("cccccc");
    EXPECT_EQ(splitter.rest(), tooLong);
    EXPECT_EQ(splitter.rest(), std::nullopt);
}

} // namespace
} // namespace zelvo::service
