#include "platform/portable/updates/ArchiveUnpacking.h"

#include "base/LocalizedTexts.h"
#include "platform/Updates.h"
#include "platform/portable/files/UniqueFd.h"
#include "unit/system/TemporaryFolder.h"
#include "unit/updates/TestRelease.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

namespace zelvo {
namespace {

namespace fs = std::filesystem;
using Type = TestEntry::Type;

class ArchiveUnpackingTest : public testing::Test {
protected:
    TemporaryFolder folder;
    fs::path into = folder.path / "deep" / "into";
    TestVersion version{.version = "2.0"};
    std::vector<TestEntry> entries = version.entries();

    void SetUp() override { fs::create_directories(into); }
    void unpack(std::string const& archive, UnpackLimits limits = {}) const
    {
        writeFile(folder.path / "archive", archive);
        UniqueFd const file(::open((folder.path / "archive").c_str(), O_RDONLY | O_CLOEXEC));
        unpackArchive(file.get(), into, limits);
    }
    std::string failureOf(std::string const& archive, UnpackLimits limits = {}) const
    {
        try {
            unpack(archive, limits);
        } catch (UpdateAbort const& abort) {
            return abort.description;
        }
        return "none";
    }
    /// Refused, and nothing is outside of the folder.
    void expectRefused() const
    {
        EXPECT_EQ(failureOf(archiveOf(entries)), localized("update.error.archive"));
        EXPECT_EQ(std::distance(fs::directory_iterator(folder.path), {}), 2); // The archive, and the folder.
        EXPECT_EQ(std::distance(fs::directory_iterator(into.parent_path()), {}), 1);
    }
};

TEST_F(ArchiveUnpackingTest, unpacksAVersion)
{
    unpack(archiveOf(entries));

    EXPECT_TRUE(version.isIn(into));
    EXPECT_EQ(fs::status(into / "zelvo-agent").permissions(), fs::perms(0755));
    EXPECT_EQ(fs::status(into / "Info.json").permissions(), fs::perms(0644));
}

TEST_F(ArchiveUnpackingTest, modesDoNotDependOnTheUmask)
{
    mode_t const before = ::umask(0077);
    unpack(archiveOf(entries));
    ::umask(before);

    EXPECT_EQ(fs::status(into / "zelvo-agent").permissions(), fs::perms(0755));
}

TEST_F(ArchiveUnpackingTest, knowsTheFiltersOfReleases)
{
    for (TestFilter const filter : {TestFilter::xz, TestFilter::gzip, TestFilter::zstd, TestFilter::none}) {
        fs::remove_all(into);
        fs::create_directories(into);
        unpack(archiveOf(entries, filter));
        EXPECT_TRUE(version.isIn(into));
    }
}

TEST_F(ArchiveUnpackingTest, refusesAClimbingPath)
{
    entries.push_back({.path = "zelvo-agent/../../escaped", .content = "x"});

    expectRefused();
}

TEST_F(ArchiveUnpackingTest, refusesAnAbsolutePath)
{
    entries.insert(entries.begin(), {.path = (folder.path / "escaped").string(), .content = "x"});

    expectRefused();
}

TEST_F(ArchiveUnpackingTest, refusesALinkInPlaceOfAFile)
{
    entries.at(2) = {.path = "zelvo-agent/LICENSE", .content = "/etc/passwd", .type = Type::link};

    expectRefused();
}

TEST_F(ArchiveUnpackingTest, refusesALinkInPlaceOfTheTopFolder)
{
    entries.at(0) = {.path = "zelvo-agent", .content = "/tmp", .type = Type::link};

    expectRefused();
}

TEST_F(ArchiveUnpackingTest, refusesAHardLink)
{
    entries.at(2) = {
        .path = "zelvo-agent/LICENSE", .content = "zelvo-agent/Info.json", .type = Type::hardLink};

    expectRefused();
}

TEST_F(ArchiveUnpackingTest, refusesAPipe)
{
    entries.at(2) = {.path = "zelvo-agent/LICENSE", .type = Type::pipe};

    expectRefused();
}

TEST_F(ArchiveUnpackingTest, refusesAnotherFile)
{
    entries.push_back({.path = "zelvo-agent/plugin.so", .content = "x"});

    expectRefused();
}

TEST_F(ArchiveUnpackingTest, refusesAnotherFolder)
{
    entries.push_back({.path = "zelvo-agent/sub/", .type = Type::folder});

    expectRefused();
}

TEST_F(ArchiveUnpackingTest, refusesTheSameFileTwice)
{
    entries.push_back(entries.back());

    expectRefused();
}

TEST_F(ArchiveUnpackingTest, refusesAnArchiveThatLacksAFile)
{
    entries.pop_back();

    expectRefused();
}

TEST_F(ArchiveUnpackingTest, refusesATruncatedArchive)
{
    version.padding = std::string(200'000, 'p');
    std::string archive = archiveOf(version.entries(), TestFilter::none);
    archive.resize(archive.size() / 2);

    EXPECT_EQ(failureOf(archive), localized("update.error.archive"));
}

TEST_F(ArchiveUnpackingTest, refusesOtherFormats)
{
    for (std::string const& bytes : {std::string(), std::string("PK\3\4"), std::string(5000, 'x')})
        EXPECT_EQ(failureOf(bytes), localized("update.error.archive"));
}

TEST_F(ArchiveUnpackingTest, stopsABomb)
{
    version.padding = std::string(50'000'000, 'p');
    std::string const bomb = archiveOf(version.entries());
    ASSERT_LT(bomb.size(), 200'000U);

    EXPECT_EQ(failureOf(bomb, {.maxBytes = 1'000'000}), localized("update.error.archive"));

    EXPECT_LE(fs::file_size(into / "zelvo-agent"), 1'000'000U);
}

TEST_F(ArchiveUnpackingTest, neverWritesThroughWhatIsThere)
{
    writeFile(folder.path / "victim", "mine");
    fs::create_symlink(folder.path / "victim", into / "LICENSE");

    EXPECT_NE(failureOf(archiveOf(entries)), "none");

    EXPECT_EQ(contentOf(folder.path / "victim"), "mine");
}

} // namespace
} // namespace zelvo
