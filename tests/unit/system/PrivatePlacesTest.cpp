#include "GrantedFolder.h"
#include "platform/linux/system/XdgFolders.h"
#include "platform/portable/files/Files.h"
#include "wire/PrivateMark.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/xattr.h>

#include <atomic>
#include <cstdio>
#include <map>
#include <thread>

// What no grant reaches: the program's own folders and the data folders of gateways.

namespace zelvo {

namespace {

namespace fs = std::filesystem;

class PrivatePlacesTest : public testing::TestWithParam<FolderWalk::Method> {
public:
    PrivatePlacesTest()
    {
        writeFile(files.in / "a.txt", "inside");
        writeFile(inside / "keychain/token", "secret");
        writeFile(beside / "keychain/token", "secret");
    }
    ~PrivatePlacesTest() override
    {
        EXPECT_EQ(contentOf(inside / "keychain/token"), "secret");
        EXPECT_EQ(contentOf(beside / "keychain/token"), "secret");
    }

    void expectRefused(fs::path const& path)
    {
        EXPECT_EQ(files.readOutcome(path), "scope_denied") << path;
        EXPECT_EQ(files.writeOutcome(path), "scope_denied") << path;
    }
    /// Mounts a folder or file at another place; false if this may not be done here.
    bool mountAt(fs::path const& place, fs::path const& what)
    {
        if (::mount(what.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) != 0)
            return false;
        mounts.push_back(place);
        return true;
    }
    void TearDown() override
    {
        for (fs::path const& place : mounts)
            EXPECT_EQ(::umount2(place.c_str(), MNT_DETACH), 0);
    }

    GrantedFolder files{GetParam()};
    fs::path const inside = files.in / "own";
    fs::path const beside = files.top.path / "own";
    std::vector<fs::path> mounts;
};

INSTANTIATE_TEST_SUITE_P(Walks,
                         PrivatePlacesTest,
                         testing::Values(FolderWalk::Method::inOneStep, FolderWalk::Method::partByPart));

TEST_P(PrivatePlacesTest, areRefusedInsideAGrantedFolder)
{
    expectRefused(inside / "keychain/token");
    EXPECT_EQ(files.writeOutcome(inside / "new"), "scope_denied");
    EXPECT_EQ(files.writeOutcome(inside / "keychain/new/folder/x"), "scope_denied");

    EXPECT_EQ(GrantedFolder::count(inside), 1u);
    EXPECT_EQ(GrantedFolder::count(inside / "keychain"), 1u);
    EXPECT_EQ(files.read(files.in / "a.txt"), "inside");
}

TEST_P(PrivatePlacesTest, areRefusedAlsoWhenTheyThemselvesAreGranted)
{
    for (fs::path const& granted : {inside, inside / "keychain", beside, files.top.path, fs::path("/tmp")}) {
        run(files.io, files.access.setRoots({granted.native()}));
        expectRefused(inside / "keychain/token");
        expectRefused(beside / "keychain/token");
    }
}

TEST_P(PrivatePlacesTest, areRefusedWhenTheyAppearLater)
{
    fs::remove_all(inside);
    EXPECT_EQ(files.readOutcome(inside / "keychain/token"), "invalid_request");

    writeFile(inside / "keychain/token", "secret");

    expectRefused(inside / "keychain/token");
}

TEST_P(PrivatePlacesTest, areRefusedThroughLinks)
{
    run(files.io, files.access.setRoots({files.top.path.native()}));
    fs::create_symlink(beside, files.in / "link");
    fs::create_symlink(beside / "keychain/token", files.in / "file");
    fs::create_symlink("../own/keychain", files.in / "relative");

    expectRefused(files.in / "link/keychain/token");
    expectRefused(files.in / "file");
    expectRefused(files.in / "relative/token");
    EXPECT_EQ(files.writeOutcome(files.in / "relative/new"), "scope_denied");
}

TEST_P(PrivatePlacesTest, areRefusedWhereALinkTakesTheirPlace)
{
    fs::rename(beside, files.in / "moved");
    fs::create_symlink(files.in / "moved", beside);

    expectRefused(files.in / "moved/keychain/token");
}

TEST_P(PrivatePlacesTest, areRefusedUnderAnotherNameOfTheFile)
{
    fs::create_hard_link(beside / "keychain/token", files.in / "other name");

    expectRefused(files.in / "other name");
}

// What the program stored and replaced since keeps its mark.
TEST_P(PrivatePlacesTest, areRefusedUnderAnOlderNameOfAReplacedFile)
{
    fs::path const token = beside / "keychain/token";
    ASSERT_TRUE(zelvo::files::replace(token, "secret"));
    if (::getxattr(token.c_str(), PrivateMark::attribute, nullptr, 0) < 0 && errno == EOPNOTSUPP)
        GTEST_SKIP() << "this file system has no extended attributes";
    fs::create_hard_link(token, files.in / "other name");
    ASSERT_TRUE(zelvo::files::replace(token, "secret"));

    expectRefused(files.in / "other name");
}

// A path to the file would be longer than the system allows.
TEST_P(PrivatePlacesTest, areRefusedWhenTheyCannotAllBeSeen)
{
    UniqueFd deep(::open(beside.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    std::string const name(200, 'd');
    for (int depth = 0; depth < 25; ++depth) {
        ASSERT_EQ(::mkdirat(deep.get(), name.c_str(), 0700), 0);
        deep = UniqueFd(::openat(deep.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    UniqueFd const file(::openat(deep.get(), "token", O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::write(file.get(), "secret", 6), 6);
    ASSERT_EQ(::linkat(deep.get(), "token", AT_FDCWD, (files.in / "other name").c_str(), 0), 0);

    expectRefused(files.in / "other name");
}

// Hard links to anything else are the person's business: the granted name decides.
TEST_P(PrivatePlacesTest, leaveOtherFilesWithTwoNamesAlone)
{
    writeFile(files.out / "x", "outside");
    fs::create_hard_link(files.out / "x", files.in / "x");

    EXPECT_EQ(files.read(files.in / "x"), "outside");
    files.write(files.in / "x", "new");
    EXPECT_EQ(contentOf(files.out / "x"), "outside");
}

TEST_P(PrivatePlacesTest, areRefusedWhereTheyAreMounted)
{
    for (char const* const name : {"whole", "part", "above"})
        fs::create_directories(files.in / name);
    writeFile(files.in / "file", "");
    if (!mountAt(files.in / "whole", beside))
        GTEST_SKIP() << "mounting needs root";
    ASSERT_TRUE(mountAt(files.in / "part", beside / "keychain"));
    ASSERT_TRUE(mountAt(files.in / "file", beside / "keychain/token"));
    ASSERT_TRUE(mountAt(files.in / "above", files.top.path));

    expectRefused(files.in / "whole/keychain/token");
    expectRefused(files.in / "part/token");
    EXPECT_EQ(files.writeOutcome(files.in / "part/new"), "scope_denied");
    expectRefused(files.in / "file");
    expectRefused(files.in / "above/own/keychain/token");
}

TEST_P(PrivatePlacesTest, areRefusedInsideOfAFolderThatIsMountedOnItsChild)
{
    fs::create_directories(inside / "child/child");
    if (!mountAt(inside / "child/child", inside / "child"))
        GTEST_SKIP() << "mounting needs root";
    writeFile(inside / "child/x", "secret");

    expectRefused(inside / "child/child/x");
    EXPECT_EQ(contentOf(inside / "child/x"), "secret");
}

TEST_P(PrivatePlacesTest, areTheFoldersThatAGatewayMarks)
{
    fs::path const data = files.in / "elsewhere/data";
    writeFile(data / PrivateMark::fileName, "");
    writeFile(data / "api-key", "secret");
    writeFile(data / "recordings/a.mp4", "secret");

    expectRefused(data / "api-key");
    expectRefused(data / "recordings/a.mp4");
    expectRefused(data / PrivateMark::fileName);
    EXPECT_EQ(files.writeOutcome(data / "new/folder/x"), "scope_denied");
    EXPECT_FALSE(fs::exists(data / "new"));
    fs::rename(data, files.in / "moved");
    expectRefused(files.in / "moved/api-key");
    fs::rename(files.in / "moved", data);
}

TEST_P(PrivatePlacesTest, areTheFilesThatAGatewayMarksUnderAllTheirNames)
{
    fs::path const key = files.out / "api-key";
    writeFile(key, "secret");
    if (::setxattr(key.c_str(), PrivateMark::attribute, "1", 1, 0) != 0)
        GTEST_SKIP() << "this file system has no extended attributes";
    fs::create_hard_link(key, files.in / "other name");

    expectRefused(files.in / "other name");
    EXPECT_EQ(contentOf(key), "secret");
}

// Nobody locks other agents out of a granted folder.
TEST_P(PrivatePlacesTest, areMarkedByNoAgent)
{
    EXPECT_EQ(files.writeOutcome(files.in / PrivateMark::fileName), "scope_denied");
    EXPECT_EQ(files.writeOutcome(files.in / "new" / PrivateMark::fileName), "scope_denied");
    EXPECT_EQ(files.read(files.in / "a.txt"), "inside");
}

TEST_P(PrivatePlacesTest, areNotReadWhileTheyAreSwappedWithAGrantedFolder)
{
    writeFile(files.in / "folder/keychain/token", "harmless");
    ASSERT_EQ(files.read(files.in / "a.txt"), "inside"); // The program knows its folders from its start.
    std::atomic<bool> isEnding = false;
    std::atomic<int> swaps = 0;
    std::thread swapper([&] {
        while (!isEnding) {
            fs::path const folder = files.in / "folder";
            swaps += ::renameat2(AT_FDCWD, folder.c_str(), AT_FDCWD, beside.c_str(), RENAME_EXCHANGE) == 0;
        }
    });
    std::map<std::string, int> seen;
    for (int round = 0; round < 2000 || (swaps < 2000 && round < 200'000); ++round) {
        std::string content;
        std::string const outcome =
            GrantedFolder::outcome([&] { content = files.read(files.in / "folder/keychain/token"); });
        ++seen[outcome == "ok" ? content : outcome];
    }
    isEnding = true;
    swapper.join();
    if (contentOf(beside / "keychain/token") != "secret") { // It ended with the folders swapped.
        fs::path const folder = files.in / "folder";
        ASSERT_EQ(::renameat2(AT_FDCWD, folder.c_str(), AT_FDCWD, beside.c_str(), RENAME_EXCHANGE), 0);
    }

    EXPECT_FALSE(seen.contains("secret"));
    EXPECT_GT(seen["scope_denied"], 0);
    EXPECT_GE(swaps, 2000);
}

TEST(PrivateFolders, holdTheInstalledProgram)
{
    auto const folders = xdg::privateFolders();

    EXPECT_NE(std::ranges::find(folders, xdg::dataHome() / "zelvo-agent"), folders.end());
}

TEST(PrivateFolders, holdThoseOfAnotherZelvoOfTheSamePerson)
{
    ::setenv("HOME", "/home/ann", 1);
    ::setenv("XDG_CONFIG_HOME", "/trial/config", 1);
    ::setenv("XDG_DATA_HOME", "/trial/data", 1);
    ::setenv("ZELVO_SESSION_DATA_HOME", "/ann/data", 1);

    auto const folders = xdg::privateFolders();

    for (char const* const name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "ZELVO_SESSION_DATA_HOME"})
        ::unsetenv(name);
    for (char const* const folder :
         {"/trial/config/dev.zelvo.agent", "/trial/data/dev.zelvo.agent", "/ann/data/dev.zelvo.agent",
          "/home/ann/.config/dev.zelvo.agent", "/home/ann/.local/share/dev.zelvo.agent"})
        EXPECT_NE(std::ranges::find(folders, folder), folders.end()) << folder;
}

} // namespace

} // namespace zelvo
