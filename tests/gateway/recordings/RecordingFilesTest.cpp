#include "ZelvoGateway/recordings/RecordingFiles.h"

#include "ZelvoGateway/recordings/FolderRecordingFiles.h"
#include "ZelvoGateway/recordings/s3/S3RecordingFiles.h"
#include "gateway/support/CephStore.h"
#include "gateway/support/FakeRecordingFiles.h"
#include "unit/system/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <type_traits>

namespace zelvo::service {
namespace {

/// Clocks of stores count in seconds, so "old enough at once" is a negative age.
constexpr Duration noAge = -1min;

struct InFolder {
    static constexpr bool readsRemoved = true;
    TemporaryFolder folder;
    FolderRecordingFiles files{folder.path / "recordings"};
};

struct InSharedFolder {
    static constexpr bool readsRemoved = true;
    TemporaryFolder folder;
    FolderRecordingFiles files{folder.path, {.owner = "gwy_1", .othersWrite = noAge}};
};

struct InMemory {
    static constexpr bool readsRemoved = true;
    FakeRecordingFiles files;
};

struct InBucket {
    static constexpr bool readsRemoved = false;
    CephStore* store = CephStore::shared();
    S3RecordingFiles files{store ? store->place() : S3Settings(), "gwy_1", {}, noAge};
};

/// The contract of every implementation.
template <class Made>
struct RecordingFilesContract : testing::Test {
    void SetUp() override
    {
        if constexpr (std::is_same_v<Made, InBucket>)
            if (!made.store)
                GTEST_SKIP() << CephStore::whyAbsent;
        ASSERT_GT(files.freeBytes(), 0u);
    }

    void store(std::string const& id, std::string const& content)
    {
        auto const draft = files.draft(id, content.size());
        draft->write(content);
        draft->keep();
    }
    std::string contentOf(std::string const& id)
    {
        auto const source = files.open(id);
        return source ? read(*source, 0, source->size()) : "nothing";
    }
    static std::string read(ByteSource const& source, std::uint64_t offset, std::size_t count)
    {
        std::string text(count, ' ');
        text.resize(source.read(offset, text));
        return text;
    }

    Made made;
    RecordingFiles& files = made.files;
};

using Implementations = testing::Types<InFolder, InSharedFolder, InMemory, InBucket>;
TYPED_TEST_SUITE(RecordingFilesContract, Implementations);

TYPED_TEST(RecordingFilesContract, keepsWhatWasWritten)
{
    auto draft = this->files.draft("rec_a", 6);
    draft->write("one");
    draft->write("two");
    EXPECT_FALSE(this->files.open("rec_a"));

    draft->keep();
    draft.reset();

    EXPECT_EQ(this->contentOf("rec_a"), "onetwo");
}

TYPED_TEST(RecordingFilesContract, removesADraftThatIsNotKept)
{
    this->files.draft("rec_a", 3)->write("one");

    EXPECT_FALSE(this->files.open("rec_a"));
    this->store("rec_a", "again");
    EXPECT_EQ(this->contentOf("rec_a"), "again");
}

TYPED_TEST(RecordingFilesContract, readsAnyPart)
{
    this->store("rec_a", "0123456789");
    auto const source = this->files.open("rec_a");
    ASSERT_TRUE(source);

    EXPECT_EQ(source->size(), 10u);
    EXPECT_EQ(this->read(*source, 3, 4), "3456");
    EXPECT_EQ(this->read(*source, 8, 10), "89");
    EXPECT_EQ(this->read(*source, 10, 1), "");
    EXPECT_EQ(this->read(*source, 1000, 1), "");
}

TYPED_TEST(RecordingFilesContract, keepsLargeFilesByteByByte)
{
    std::string content;
    for (std::uint32_t number = 0; content.size() < 11'000'000; ++number)
        content += std::to_string(number);
    auto draft = this->files.draft("rec_a", content.size());
    for (std::size_t at = 0; at < content.size(); at += 300'000)
        draft->write(std::string_view(content).substr(at, 300'000));
    EXPECT_FALSE(this->files.open("rec_a"));

    draft->keep();
    draft.reset();

    EXPECT_TRUE(this->contentOf("rec_a") == content);
    auto const source = this->files.open("rec_a");
    EXPECT_EQ(this->read(*source, 5'242'870, 20), content.substr(5'242'870, 20));
}

TYPED_TEST(RecordingFilesContract, keepsAnEmptyFile)
{
    this->store("rec_a", "");

    EXPECT_EQ(this->contentOf("rec_a"), "");
}

TYPED_TEST(RecordingFilesContract, readsOrRefusesWhatWasRemoved)
{
    this->store("rec_a", "content");
    auto const source = this->files.open("rec_a");
    ASSERT_TRUE(source);

    this->files.remove("rec_a");
    this->files.remove("never there");

    EXPECT_FALSE(this->files.open("rec_a"));
    if constexpr (TypeParam::readsRemoved)
        EXPECT_EQ(this->read(*source, 0, 7), "content");
    else
        EXPECT_THROW(this->read(*source, 0, 7), RecordingFilesError);
}

TYPED_TEST(RecordingFilesContract, removesAllButTheNamed)
{
    this->store("rec_a", "1");
    this->store("rec_b", "2");
    this->store("rec_c", "3");

    this->files.removeAllBut({"rec_b", "rec_x"});

    EXPECT_FALSE(this->files.open("rec_a"));
    EXPECT_EQ(this->contentOf("rec_b"), "2");
    EXPECT_FALSE(this->files.open("rec_c"));
}

TEST(FolderRecordingFiles, saysThatAFolderIsMissing)
{
    TemporaryFolder folder;
    FolderRecordingFiles const files(folder.path / "none" / "recordings");

    EXPECT_EQ(files.freeBytes(), 0u);
    EXPECT_THROW(files.draft("rec_a", 1), RecordingFilesError);
    EXPECT_FALSE(files.open("rec_a"));
    EXPECT_NO_THROW(files.removeAllBut({}));
}

std::string problemOf(std::function<void()> const& work)
{
    try {
        work();
    } catch (RecordingFilesError const& error) {
        return error.what();
    }
    return "";
}

TEST(SharedFolder, keepsWhatOthersMayBeWriting)
{
    TemporaryFolder folder;
    FolderRecordingFiles const files(folder.path, {.owner = "gwy_1", .othersWrite = 1h});
    auto const draft = files.draft("rec_a", 1);
    std::ofstream(folder.path / "rec_b.mp4") << "new";
    std::ofstream(folder.path / "rec_c.mp4") << "old";
    std::ofstream(folder.path / "rec_d.part") << "old";
    std::ofstream(folder.path / "other.mp4") << "not ours";
    for (char const* const name : {"rec_c.mp4", "rec_d.part", "other.mp4"})
        std::filesystem::last_write_time(folder.path / name, std::filesystem::file_time_type::clock::now() -
                                                                 std::chrono::hours(2));

    files.removeAllBut({});

    EXPECT_TRUE(std::filesystem::exists(folder.path / "rec_a.part"));
    EXPECT_TRUE(std::filesystem::exists(folder.path / "rec_b.mp4"));
    EXPECT_FALSE(std::filesystem::exists(folder.path / "rec_c.mp4"));
    EXPECT_FALSE(std::filesystem::exists(folder.path / "rec_d.part"));
    EXPECT_TRUE(std::filesystem::exists(folder.path / "other.mp4"));
}

TEST(SharedFolder, belongsToOneStore)
{
    TemporaryFolder folder;
    FolderRecordingFiles const files(folder.path, {.owner = "gwy_1"});
    FolderRecordingFiles const ofTheSame(folder.path, {.owner = "gwy_1"});
    FolderRecordingFiles const ofAnother(folder.path, {.owner = "gwy_2"});
    files.removeAllBut({});

    EXPECT_NO_THROW(ofTheSame.draft("rec_a", 1));
    std::string const problem = problemOf([&] { ofAnother.removeAllBut({}); });
    EXPECT_THAT(problem, testing::HasSubstr("belongs to another gateway, gwy_1"));
    EXPECT_THROW(ofAnother.draft("rec_a", 1), RecordingFilesError);
}

TEST(SharedFolder, isNotTakenWithRecordingsOfNobody)
{
    TemporaryFolder folder;
    std::ofstream(folder.path / "rec_a.mp4") << "whose?";
    FolderRecordingFiles const files(folder.path, {.owner = "gwy_1"});

    EXPECT_THAT(problemOf([&] { files.removeAllBut({}); }), testing::HasSubstr("whose they are"));
    EXPECT_TRUE(std::filesystem::exists(folder.path / "rec_a.mp4"));
}

TEST(SharedFolder, mustExist)
{
    TemporaryFolder folder;
    FolderRecordingFiles const files(folder.path / "unmounted", {.owner = "gwy_1"});

    EXPECT_EQ(files.freeBytes(), 0u);
    EXPECT_THAT(problemOf([&] { files.removeAllBut({}); }), testing::HasSubstr("is not there"));
}

} // namespace
} // namespace zelvo::service
