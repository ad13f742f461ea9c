#include "platform/linux/system/TrashCan.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <regex>

namespace zelvo {
namespace {

namespace fs = std::filesystem;

class TrashCanTest : public testing::Test {
protected:
    fs::path inTrash(std::string const& name) const { return data / "Trash" / "files" / name; }
    std::string information(std::string const& name) const
    {
        return contentOf(data / "Trash" / "info" / (name + ".trashinfo"));
    }

    TemporaryFolder folder;
    fs::path data = folder.path / "data";
    fs::path file = folder.path / "a b" / "100%-ü";
};

TEST_F(TrashCanTest, keepsTheFileAndWhereItWas)
{
    writeFile(file, "content");

    EXPECT_TRUE(moveToTrash(file, data));

    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(contentOf(inTrash("100%-ü")), "content");
    std::regex const wanted(
        "\\[Trash Info\\]\nPath=(.*)\nDeletionDate=\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\n");
    std::smatch match;
    std::string const text = information("100%-ü");
    ASSERT_TRUE(std::regex_match(text, match, wanted)) << text;
    EXPECT_EQ(match[1], folder.path.string() + "/a%20b/100%25-%C3%BC");
}

TEST_F(TrashCanTest, isOnlyThePersons)
{
    writeFile(file, "content");
    ASSERT_TRUE(moveToTrash(file, data));

    EXPECT_EQ(modeOf(data / "Trash"), 0700U);
    EXPECT_EQ(modeOf(data / "Trash" / "info" / "100%-ü.trashinfo"), 0600U);
}

TEST_F(TrashCanTest, keepsFilesOfTheSameNameApart)
{
    for (std::string const content : {"first", "second", "third"}) {
        writeFile(file, content);
        ASSERT_TRUE(moveToTrash(file, data));
    }

    EXPECT_EQ(contentOf(inTrash("100%-ü")), "first");
    EXPECT_EQ(contentOf(inTrash("100%-ü.2")), "second");
    EXPECT_EQ(contentOf(inTrash("100%-ü.3")), "third");
    EXPECT_NE(information("100%-ü.3"), "");
}

TEST_F(TrashCanTest, replacesNothingThatHasNoInformation)
{
    writeFile(inTrash("100%-ü"), "another program's");
    writeFile(file, "ours");

    ASSERT_TRUE(moveToTrash(file, data));

    EXPECT_EQ(contentOf(inTrash("100%-ü")), "another program's");
    EXPECT_EQ(contentOf(inTrash("100%-ü.2")), "ours");
    EXPECT_EQ(information("100%-ü"), "");
}

TEST_F(TrashCanTest, takesAFolderAndALinkAsTheyAre)
{
    writeFile(folder.path / "kept", "kept");
    writeFile(folder.path / "some" / "inner", "inner");
    fs::create_symlink(folder.path / "kept", folder.path / "link");

    EXPECT_TRUE(moveToTrash(folder.path / "some", data));
    EXPECT_TRUE(moveToTrash(folder.path / "link", data));

    EXPECT_EQ(contentOf(inTrash("some") / "inner"), "inner");
    EXPECT_TRUE(fs::is_symlink(inTrash("link")));
    EXPECT_EQ(contentOf(folder.path / "kept"), "kept");
}

TEST_F(TrashCanTest, leavesTheFileWhenThereIsNoTrash)
{
    writeFile(file, "content");
    writeFile(data / "Trash", "a file where the folder belongs");

    EXPECT_FALSE(moveToTrash(file, data));

    EXPECT_EQ(contentOf(file), "content");
}

TEST_F(TrashCanTest, leavesAFileOfAnotherFileSystem)
{
    // A file system of its own that every process has.
    EXPECT_FALSE(moveToTrash("/proc/self/status", data));

    EXPECT_TRUE(fs::is_empty(data / "Trash" / "info"));
}

TEST_F(TrashCanTest, refusesWhatIsNotThere)
{
    EXPECT_FALSE(moveToTrash(file, data));
    EXPECT_FALSE(fs::exists(data));
}

} // namespace
} // namespace zelvo
