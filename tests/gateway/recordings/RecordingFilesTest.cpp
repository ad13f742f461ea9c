#include "ZelvoGateway/recordings/RecordingFiles.h"

#include "ZelvoGateway/recordings/FolderRecordingFiles.h"
#include "gateway/support/FakeRecordingFiles.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

struct InFolder {
    TemporaryFolder folder;
    FolderRecordingFiles files{folder.path / "recordings"};
};

struct InMemory {
    FakeRecordingFiles files;
};

/// The contract of every implementation.
template <class Made>
struct RecordingFilesContract : testing::Test {
    RecordingFilesContract() { EXPECT_GT(files.freeBytes(), 0u); }

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

using Implementations = testing::Types<InFolder, InMemory>;
TYPED_TEST_SUITE(RecordingFilesContract, Implementations);

TYPED_TEST(RecordingFilesContract, keepsWhatWasWritten)
{
    auto draft = this->files.draft("a", 6);
    draft->write("one");
    draft->write("two");
    EXPECT_FALSE(this->files.open("a"));

    draft->keep();
    draft.reset();

    EXPECT_EQ(this->contentOf("a"), "onetwo");
}

TYPED_TEST(RecordingFilesContract, removesADraftThatIsNotKept)
{
    this->files.draft("a", 3)->write("one");

    EXPECT_FALSE(this->files.open("a"));
    this->store("a", "again");
    EXPECT_EQ(this->contentOf("a"), "again");
}

TYPED_TEST(RecordingFilesContract, readsAnyPart)
{
    this->store("a", "0123456789");
    auto const source = this->files.open("a");
    ASSERT_TRUE(source);

    EXPECT_EQ(source->size(), 10u);
    EXPECT_EQ(this->read(*source, 3, 4), "3456");
    EXPECT_EQ(this->read(*source, 8, 10), "89");
    EXPECT_EQ(this->read(*source, 10, 1), "");
    EXPECT_EQ(this->read(*source, 1000, 1), "");
}

TYPED_TEST(RecordingFilesContract, goesOnReadingWhatWasRemoved)
{
    this->store("a", "content");
    auto const source = this->files.open("a");
    ASSERT_TRUE(source);

    this->files.remove("a");
    this->files.remove("never there");

    EXPECT_FALSE(this->files.open("a"));
    EXPECT_EQ(this->read(*source, 0, 7), "content");
}

TYPED_TEST(RecordingFilesContract, removesAllButTheNamed)
{
    this->store("a", "1");
    this->store("b", "2");
    this->store("c", "3");

    this->files.removeAllBut({"b", "x"});

    EXPECT_FALSE(this->files.open("a"));
    EXPECT_EQ(this->contentOf("b"), "2");
    EXPECT_FALSE(this->files.open("c"));
}

TEST(FolderRecordingFiles, saysThatAFolderIsMissing)
{
    TemporaryFolder folder;
    FolderRecordingFiles const files(folder.path / "none" / "recordings");

    EXPECT_EQ(files.freeBytes(), 0u);
    EXPECT_THROW(files.draft("a", 1), RecordingFilesError);
    EXPECT_FALSE(files.open("a"));
    EXPECT_NO_THROW(files.removeAllBut({}));
}

} // namespace
} // namespace zelvo::service
