#include "drivers/FilePlace.h"

#include "fakes/FakeFileSystem.h"

#include <gtest/gtest.h>

namespace zelvo {

namespace {

class FilePlaceTest : public testing::Test {
public:
    FilePlaceTest() { files.addFile("/real/file", "content"); }

    /// The place of an existing file of any kind.
    static FilePlace fileAt(std::string path) { return {.path = std::move(path), .exists = true}; }
    static FilePlace folderAt(std::string path)
    {
        return {.path = std::move(path), .exists = true, .isFolder = true};
    }
    static FilePlace nothingAt(std::string path) { return {.path = std::move(path)}; }

    FakeFileSystem files;
};

TEST_F(FilePlaceTest, leavesAPathWithoutLinksAsItIs)
{
    EXPECT_EQ(locate(files, "/real/file"), fileAt("/real/file"));
    EXPECT_EQ(locate(files, "/real"), folderAt("/real"));
    EXPECT_EQ(locate(files, "/"), folderAt("/"));
}

TEST_F(FilePlaceTest, followsLinksAnywhereInThePath)
{
    files.addLink("/absolute", "/real");
    files.addLink("/real/relative", "file");
    files.addLink("/up/down", "../real/./file");

    EXPECT_EQ(locate(files, "/absolute/file"), fileAt("/real/file"));
    EXPECT_EQ(locate(files, "/absolute/relative"), fileAt("/real/file"));
    EXPECT_EQ(locate(files, "/up/down"), fileAt("/real/file"));
}

TEST_F(FilePlaceTest, followsLinksToLinks)
{
    files.addLink("/one", "two");
    files.addLink("/two", "/three");
    files.addLink("/three", "real");

    EXPECT_EQ(locate(files, "/one/file"), fileAt("/real/file"));
}

TEST_F(FilePlaceTest, takesTheParentOfWhereALinkLed)
{
    files.addFolder("/deep/er");
    files.addLink("/link", "/deep/er");
    files.addLink("/back", "link/../x");
    files.addFile("/deep/x", "");

    EXPECT_EQ(locate(files, "/back"), fileAt("/deep/x"));
}

TEST_F(FilePlaceTest, followsTheLinksOfWhatExistsOnly)
{
    files.addLink("/link", "/real");
    files.addLink("/dangling", "/real/gone/deep");

    EXPECT_EQ(locate(files, "/link/new/er"), nothingAt("/real/new/er"));
    EXPECT_EQ(locate(files, "/dangling"), nothingAt("/real/gone/deep"));
    EXPECT_EQ(locate(files, "/dangling/x"), nothingAt("/real/gone/deep/x"));
}

TEST_F(FilePlaceTest, findsNothingBelowAFile)
{
    EXPECT_EQ(locate(files, "/real/file/x"), nothingAt("/real/file/x"));
}

TEST_F(FilePlaceTest, comesToAnEndInACircle)
{
    files.addLink("/circle", "circle");
    files.addLink("/a", "b/x");
    files.addLink("/b", "a/x");

    EXPECT_FALSE(locate(files, "/circle").exists);
    EXPECT_FALSE(locate(files, "/a").exists);
    EXPECT_LT(files.looked.size(), 1000u);
}

TEST_F(FilePlaceTest, followsFortyLinksAndNoMore)
{
    for (int i = 1; i <= 41; ++i)
        files.addLink("/link" + std::to_string(i), i == 1 ? "real" : "link" + std::to_string(i - 1));

    EXPECT_EQ(locate(files, "/link40/file"), fileAt("/real/file"));
    EXPECT_FALSE(locate(files, "/link41/file").exists);
}

} // namespace

} // namespace zelvo
