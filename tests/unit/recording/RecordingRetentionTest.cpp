#include "recording/RecordingRetention.h"

#include "fakes/FakeUserDefaults.h"
#include "fakes/FakeVideoFolders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::UnorderedElementsAre;

constexpr auto day = std::chrono::seconds(86'400);

class RecordingRetentionTest : public testing::Test {
public:
    RecordingRetentionTest() { settings.setRetentionDays(7); }

    void store(std::string const& name, std::optional<Date> created)
    {
        folders.stored[folder / name] = created;
    }
    auto expired(std::int64_t days) { return RecordingRetention::expired(folders, folder, days, now); }

    std::filesystem::path const folder = "/home/me/Videos/Zelvo";
    Date const now = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21));
    FakeUserDefaults defaults;
    RecordingSettings settings{defaults};
    FakeVideoFolders folders;
    RecordingRetention retention{settings, folders};
};

TEST_F(RecordingRetentionTest, findsWhatIsOlderThanTheDays)
{
    store("Zelvo old.mp4", now - 8 * day);
    store("Zelvo new.mp4", now - 6 * day);

    EXPECT_THAT(expired(7), ElementsAre(folder / "Zelvo old.mp4"));
    EXPECT_THAT(expired(5), ElementsAre(folder / "Zelvo new.mp4", folder / "Zelvo old.mp4"));
}

TEST_F(RecordingRetentionTest, keepsAFileDatedExactlyAtTheCutoff)
{
    store("Zelvo at.mp4", now - 7 * day);
    store("Zelvo before.mp4", now - 7 * day - std::chrono::microseconds(1));

    EXPECT_THAT(expired(7), ElementsAre(folder / "Zelvo before.mp4"));
}

TEST_F(RecordingRetentionTest, keepsWhatHasNoDate)
{
    store("Zelvo x.mp4", std::nullopt);

    EXPECT_THAT(expired(1), IsEmpty());
}

TEST_F(RecordingRetentionTest, touchesOnlyWhatIsNamedAsARecording)
{
    for (std::string const name :
         {"Zelvo x.mov", "Recording.mp4", "Zelvo x.MP4", "Zelvo.mp4", "zelvo x.mp4", "Zelvox.mp4",
          " Zelvo x.mp4", "Zelvo x.mp4.part", "Zelvo x", "Zelvo mp4", "Zelvo\tx.mp4", "Zelvo x.mp4~"})
        store(name, now - 1000 * day);

    EXPECT_THAT(expired(1), IsEmpty());
    EXPECT_EQ(retention.purge(now), 0u);
    EXPECT_EQ(folders.stored.size(), 12u);
}

TEST_F(RecordingRetentionTest, findsNothingInAFolderThatCannotBeListed)
{
    store("Zelvo x.mp4", now - 100 * day);
    folders.isListable = false;

    EXPECT_THAT(expired(1), IsEmpty());
    EXPECT_EQ(retention.purge(now), 0u);
}

TEST_F(RecordingRetentionTest, looksInNoOtherFolder)
{
    folders.stored["/home/me/Videos/Zelvo x.mp4"] = now - 100 * day;
    folders.stored["/home/me/Videos/Zelvo/sub/Zelvo x.mp4"] = now - 100 * day;

    EXPECT_EQ(retention.purge(now), 0u);
}

TEST_F(RecordingRetentionTest, removesByThePersonsChoice)
{
    store("Zelvo 8.mp4", now - 8 * day);
    store("Zelvo 6.mp4", now - 6 * day);
    store("Zelvo 2.mp4", now - 2 * day);

    EXPECT_EQ(retention.purge(now), 1u);
    settings.setRetentionDays(3);
    EXPECT_EQ(retention.purge(now), 1u);
    EXPECT_EQ(retention.purge(now), 0u);
    EXPECT_THAT(folders.stored, UnorderedElementsAre(Key(folder / "Zelvo 2.mp4")));
}

TEST_F(RecordingRetentionTest, passesOverWhatCannotBeRemoved)
{
    store("Zelvo 1.mp4", now - 100 * day);
    store("Zelvo 2.mp4", now - 100 * day);
    store("Zelvo 3.mp4", now - 100 * day);
    folders.unremovable = {folder / "Zelvo 2.mp4"};

    EXPECT_EQ(retention.purge(now), 2u);
    EXPECT_THAT(folders.stored, UnorderedElementsAre(Key(folder / "Zelvo 2.mp4")));

    folders.unremovable.clear();
    EXPECT_EQ(retention.purge(now), 1u);
}

} // namespace
} // namespace zelvo
