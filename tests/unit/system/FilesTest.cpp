#include "platform/portable/files/Files.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

namespace zelvo {

namespace {

TEST(Files, replacesAFileInOneStepWithPrivateMode)
{
    TemporaryFolder folder;
    auto const file = folder.path / "value";

    auto const first = files::replace(file, "old");
    auto const second = files::replace(file, "new");

    EXPECT_TRUE(first);
    EXPECT_TRUE(second);
    EXPECT_NE(*first, *second);
    EXPECT_EQ(files::identityOf(file), second);
    EXPECT_EQ(contentOf(file), "new");
    EXPECT_EQ(modeOf(file), 0600u);
}

TEST(Files, leavesTheOldFileAndNothingElseWhenReplacingFails)
{
    TemporaryFolder folder;
    std::filesystem::create_directories(folder.path / "value" /
                                        "inside"); // A folder with content can't be replaced.

    EXPECT_FALSE(files::replace(folder.path / "value", "new"));

    EXPECT_NE(errno, 0);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 1);
}

TEST(Files, refusesWhatIsTooLongOrNoFile)
{
    TemporaryFolder folder;
    writeFile(folder.path / "long", std::string(11, 'x'));
    ASSERT_EQ(::mkfifo((folder.path / "pipe").c_str(), 0600), 0);

    EXPECT_FALSE(files::read(folder.path / "long", 10));
    EXPECT_TRUE(files::read(folder.path / "long", 11));
    EXPECT_FALSE(files::read(folder.path / "pipe", 10)); // Without waiting for a writer.
    EXPECT_FALSE(files::read(folder.path, 10));
    EXPECT_FALSE(files::read(folder.path / "absent", 10));
}

TEST(Files, removesLeftoversOfDeadProcessesOnly)
{
    pid_t const dead = ::fork();
    if (dead == 0)
        ::_exit(0);
    ASSERT_EQ(::waitpid(dead, nullptr, 0), dead);
    TemporaryFolder folder;
    writeFile(folder.path / (".a.json.1." + std::to_string(dead) + ".tmp"), "left");
    writeFile(folder.path / (".b.json.1." + std::to_string(::getppid()) + ".tmp"), "being written");
    writeFile(folder.path / "kept.json", "1");
    writeFile(folder.path / ".tmp", "somebody's");

    files::removeLeftovers(folder.path);

    EXPECT_FALSE(std::filesystem::exists(folder.path / (".a.json.1." + std::to_string(dead) + ".tmp")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 3);
}

TEST(Files, makesFoldersPrivateAndLeavesOthersAsTheyAre)
{
    TemporaryFolder folder;
    ASSERT_EQ(::chmod(folder.path.c_str(), 0755), 0);

    EXPECT_TRUE(files::makePrivateFolder(folder.path / "one" / "two"));
    EXPECT_TRUE(files::makePrivateFolder(folder.path / "one" / "two"));

    EXPECT_EQ(modeOf(folder.path), 0755u);
    EXPECT_EQ(modeOf(folder.path / "one"), 0700u);
    EXPECT_EQ(modeOf(folder.path / "one" / "two"), 0700u);
    writeFile(folder.path / "file", "");
    EXPECT_FALSE(files::makePrivateFolder(folder.path / "file" / "three"));
}

} // namespace

} // namespace zelvo
