#include "platform/linux/system/LinuxVideoFolders.h"

#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

namespace zelvo {

namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class LinuxVideoFoldersTest : public testing::Test {
public:
    fs::path videoFilesFor(std::string const& userDirs)
    {
        writeFile(root.path / "config" / "user-dirs.dirs", userDirs);
        return folders.videosFolder();
    }
    std::vector<std::string> namesIn(fs::path const& folder)
    {
        std::vector<std::string> names;
        for (StoredFile const& file : folders.files(folder))
            names.push_back(file.path.filename().string());
        return names;
    }

    TemporaryFolder root;
    fs::path const home = root.path / "home";
    LinuxVideoFolders folders{root.path / "config", home};
};

TEST_F(LinuxVideoFoldersTest, findTheVideosFolder)
{
    EXPECT_EQ(videoFilesFor("# written by xdg-user-dirs-update\nXDG_MUSIC_DIR=\"$HOME/Music\"\n"
                            "XDG_VIDEOS_DIR=\"$HOME/Filme\"\n"),
              home / "Filme");
    EXPECT_EQ(videoFilesFor("XDG_VIDEOS_DIR=\"/data/Videos und mehr\"\n"), "/data/Videos und mehr");
    EXPECT_EQ(videoFilesFor("XDG_VIDEOS_DIR=\"$HOME/Видео/дома\"\n"), home / "Видео/дома");
}

TEST_F(LinuxVideoFoldersTest, followTheFileAsItIs)
{
    EXPECT_EQ(videoFilesFor("XDG_VIDEOS_DIR=\"$HOME/a\"\n"), home / "a");
    EXPECT_EQ(videoFilesFor("XDG_VIDEOS_DIR=\"$HOME/b\"\n"), home / "b");
}

TEST_F(LinuxVideoFoldersTest, takeTheHomeFolderWhereVideosHaveNone)
{
    EXPECT_EQ(videoFilesFor("XDG_VIDEOS_DIR=\"$HOME\"\n"), home);
    EXPECT_EQ(videoFilesFor("XDG_VIDEOS_DIR=\"$HOME/\"\n") / "Zelvo", home / "Zelvo");
}

TEST_F(LinuxVideoFoldersTest, takeVideosWhereNothingIsSaid)
{
    EXPECT_EQ(folders.videosFolder(), home / "Videos");
    for (std::string const content :
         {"", "XDG_VIDEOS_DIR=\"\"\n", "XDG_VIDEOS_DIR=Videos\n", "XDG_VIDEOS_DIR=\"../x\"\n",
          "XDG_VIDEOS_DIR=\"$HOMER/x\"\n", "XDG_VIDEOS_DIR=\"$HOME/x\n", "#XDG_VIDEOS_DIR=\"$HOME/x\"\n"})
        EXPECT_EQ(videoFilesFor(content), home / "Videos") << content;
}

TEST_F(LinuxVideoFoldersTest, makeAFolderAndThoseAboveIt)
{
    folders.make(root.path / "a" / "b");
    folders.make(root.path / "a" / "b");

    EXPECT_TRUE(fs::is_directory(root.path / "a" / "b"));
}

TEST_F(LinuxVideoFoldersTest, sayWhyAFolderCannotBeMade)
{
    writeFile(root.path / "file", "");
    fs::create_symlink(root.path / "nowhere", root.path / "dangling");

    EXPECT_THROW(folders.make(root.path / "file"), FileFailure);
    EXPECT_THROW(folders.make(root.path / "file" / "b"), FileFailure);
    EXPECT_THROW(folders.make(root.path / "dangling"), FileFailure);
    EXPECT_THROW(folders.make("/proc/zelvo/b"), FileFailure);
}

TEST_F(LinuxVideoFoldersTest, takeALinkToAFolderForAFolder)
{
    fs::create_directories(root.path / "disk");
    fs::create_directory_symlink(root.path / "disk", root.path / "Zelvo");
    writeFile(root.path / "disk" / "Zelvo x.mp4", "recording");

    EXPECT_NO_THROW(folders.make(root.path / "Zelvo"));
    EXPECT_THAT(namesIn(root.path / "Zelvo"), UnorderedElementsAre("Zelvo x.mp4"));
}

TEST_F(LinuxVideoFoldersTest, listRegularFilesOnly)
{
    writeFile(root.path / "f" / "Zelvo 1.mp4", "recording");
    writeFile(root.path / "f" / ".Zelvo 2.mp4", "recording");
    writeFile(root.path / "other" / "recording", "recording");
    fs::create_directory(root.path / "f" / "Zelvo 3.mp4");
    fs::create_symlink(root.path / "other" / "recording", root.path / "f" / "Zelvo 4.mp4");
    ASSERT_EQ(::mkfifo((root.path / "f" / "Zelvo 5.mp4").c_str(), 0600), 0);

    EXPECT_THAT(namesIn(root.path / "f"), UnorderedElementsAre("Zelvo 1.mp4"));
}

TEST_F(LinuxVideoFoldersTest, listNothingWhereNoFolderIs)
{
    writeFile(root.path / "file", "");

    EXPECT_THAT(namesIn(root.path / "missing"), IsEmpty());
    EXPECT_THAT(namesIn(root.path / "file"), IsEmpty());
}

TEST_F(LinuxVideoFoldersTest, listNothingOfAFolderThatMayNotBeRead)
{
    writeFile(root.path / "f" / "Zelvo 1.mp4", "recording");
    fs::permissions(root.path, fs::perms(0755));
    fs::permissions(root.path / "f", fs::perms::none);
    uid_t const self = ::geteuid();
    constexpr uid_t nobody = 65534;
    if (self == 0) // Root may read everything.
        ASSERT_EQ(::seteuid(nobody), 0);
    auto const names = namesIn(root.path / "f");
    if (self == 0)
        ASSERT_EQ(::seteuid(self), 0);
    fs::permissions(root.path / "f", fs::perms(0700));

    EXPECT_THAT(names, IsEmpty());
    EXPECT_THAT(namesIn(root.path / "f"), UnorderedElementsAre("Zelvo 1.mp4"));
}

TEST_F(LinuxVideoFoldersTest, tellWhenAFileWasMade)
{
    auto const now = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    fs::path const file = root.path / "f" / "Zelvo 1.mp4";
    writeFile(file, "recording");
    // Neither a change nor an older modification time makes the file older.
    fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(1000));

    auto const found = folders.files(root.path / "f");

    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].path, file);
    if (!found[0].created)
        GTEST_SKIP() << "this file system keeps no such date";
    EXPECT_LT(std::chrono::abs(*found[0].created - now), std::chrono::minutes(1));
}

TEST_F(LinuxVideoFoldersTest, seeWhatIsTaken)
{
    writeFile(root.path / "file", "");
    fs::create_symlink(root.path / "nowhere", root.path / "dangling");

    EXPECT_TRUE(folders.isTaken(root.path / "file"));
    EXPECT_TRUE(folders.isTaken(root.path / "dangling")); // A recording would be created at its target.
    EXPECT_TRUE(folders.isTaken(root.path));
    EXPECT_FALSE(folders.isTaken(root.path / "free"));
    EXPECT_TRUE(folders.isTaken(root.path / std::string(300, 'a')));
}

TEST_F(LinuxVideoFoldersTest, removeFilesAndNothingElse)
{
    writeFile(root.path / "f" / "file", "");
    fs::create_directory(root.path / "empty");

    EXPECT_TRUE(folders.remove(root.path / "f" / "file"));
    EXPECT_FALSE(fs::exists(root.path / "f" / "file"));
    EXPECT_FALSE(folders.remove(root.path / "f" / "file"));
    EXPECT_FALSE(folders.remove(root.path / "empty"));
    EXPECT_TRUE(fs::exists(root.path / "empty"));
}

} // namespace

} // namespace zelvo
