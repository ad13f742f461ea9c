#include "drivers/FilePath.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

std::string standard(std::string_view path)
{
    return paths::standardized(path, "/base/here");
}

TEST(FilePath, standardizesAnAbsolutePathByItsText)
{
    EXPECT_EQ(standard("/a/b"), "/a/b");
    EXPECT_EQ(standard("/a//b///c"), "/a/b/c");
    EXPECT_EQ(standard("/a/./b/."), "/a/b");
    EXPECT_EQ(standard("/a/b/../c"), "/a/c");
    EXPECT_EQ(standard("/a/b/"), "/a/b");
    EXPECT_EQ(standard("/.../..a/b.."), "/.../..a/b..");
}

TEST(FilePath, stopsAtTheTop)
{
    EXPECT_EQ(standard("/"), "/");
    EXPECT_EQ(standard("//"), "/");
    EXPECT_EQ(standard("/.."), "/");
    EXPECT_EQ(standard("/../../a"), "/a");
    EXPECT_EQ(standard("/a/../../../b"), "/b");
}

TEST(FilePath, countsARelativePathFromItsBase)
{
    EXPECT_EQ(standard("a/b"), "/base/here/a/b");
    EXPECT_EQ(standard("../a"), "/base/a");
    EXPECT_EQ(standard("../../../a"), "/a");
    EXPECT_EQ(standard(""), "/base/here");
    EXPECT_EQ(standard("."), "/base/here");
}

TEST(FilePath, splitsATilde)
{
    EXPECT_EQ(paths::tildePath("~"), (paths::TildePath{.user = "", .rest = ""}));
    EXPECT_EQ(paths::tildePath("~/a/b"), (paths::TildePath{.user = "", .rest = "/a/b"}));
    EXPECT_EQ(paths::tildePath("~bob/a"), (paths::TildePath{.user = "bob", .rest = "/a"}));
    EXPECT_EQ(paths::tildePath("~bob"), (paths::TildePath{.user = "bob", .rest = ""}));
    EXPECT_FALSE(paths::tildePath("/~/a"));
    EXPECT_FALSE(paths::tildePath("a~"));
    EXPECT_FALSE(paths::tildePath(""));
}

TEST(FilePath, takesAPlaceAsInsideOnlyBehindASlash)
{
    EXPECT_TRUE(paths::isInside("/a/b", "/a/b"));
    EXPECT_TRUE(paths::isInside("/a/b/c", "/a/b"));
    EXPECT_FALSE(paths::isInside("/a/b2", "/a/b"));
    EXPECT_FALSE(paths::isInside("/a/b2/c", "/a/b"));
    EXPECT_FALSE(paths::isInside("/a", "/a/b"));
    EXPECT_FALSE(paths::isInside("/A/B/c", "/a/b"));
}

TEST(FilePath, holdsNothingButItselfInTheTop)
{
    EXPECT_TRUE(paths::isInside("/", "/"));
    EXPECT_FALSE(paths::isInside("/a", "/"));
}

TEST(FilePath, takesAPathApart)
{
    EXPECT_EQ(paths::parentOf("/a/b"), "/a");
    EXPECT_EQ(paths::parentOf("/a"), "/");
    EXPECT_EQ(paths::parentOf("/"), "/");
    EXPECT_EQ(paths::nameOf("/a/b"), "b");
    EXPECT_EQ(paths::joined("/", "a"), "/a");
    EXPECT_EQ(paths::joined("/a", "b"), "/a/b");
    EXPECT_EQ(paths::below("/a/b/c", "/a"), "b/c");
    EXPECT_EQ(paths::below("/a", "/a"), "");
    EXPECT_EQ(paths::below("/a", "/"), "a");
}

} // namespace

} // namespace zelvo
