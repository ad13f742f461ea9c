#include "platform/portable/updates/VersionTrial.h"

#include "unit/system/TemporaryFolder.h"
#include "unit/updates/TestRelease.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

namespace fs = std::filesystem;

class VersionTrialTest : public testing::Test {
protected:
    TemporaryFolder temporary;
    fs::path installed = temporary.path / "zelvo-agent";
    ProgramFolder folder{installed / "zelvo-agent"};
    UpdateRecords records{temporary.path / "updates"};
    TestVersion before{.version = "1.0"};
    TestVersion after{.version = "2.0"};

    void SetUp() override
    {
        before.writeTo(installed);
        after.writeTo(folder.standby());
    }
    /// Of the version that is installed.
    VersionTrial trial() { return VersionTrial(folder, *folder.version(), records); }
    void install()
    {
        ASSERT_TRUE(trial().announce("1.0", "2.0"));
        ASSERT_TRUE(folder.exchange());
    }
    /// A process that starts and then dies.
    std::optional<std::string> start() { return trial().begin(); }
};

TEST_F(VersionTrialTest, withoutAnUpdateNothingIsRecorded)
{
    EXPECT_FALSE(start());

    EXPECT_FALSE(fs::exists(records.folder()));
}

TEST_F(VersionTrialTest, exchangesTheFolders)
{
    install();

    EXPECT_TRUE(after.isIn(installed));
    EXPECT_TRUE(before.isIn(folder.standby()));
}

TEST_F(VersionTrialTest, putsTheOldVersionBackAfterTwoStartsThatFailed)
{
    install();

    EXPECT_FALSE(start());
    EXPECT_FALSE(start());
    EXPECT_EQ(start(), folder.program());

    EXPECT_TRUE(before.isIn(installed));
    EXPECT_EQ(records.read().rejected, "2.0");
    EXPECT_FALSE(records.read().trial);
    EXPECT_FALSE(start());
}

TEST_F(VersionTrialTest, aStartThatLastsForgivesTheOnesBefore)
{
    install();
    start();
    {
        VersionTrial running = trial();
        running.begin();
        running.noteGoodRun();
    }

    EXPECT_FALSE(start());
    EXPECT_FALSE(start());
    EXPECT_TRUE(after.isIn(installed));
    EXPECT_TRUE(start());
}

TEST_F(VersionTrialTest, theFirstHeartbeatEndsTheTrial)
{
    install();
    start();
    trial().confirm();

    EXPECT_FALSE(fs::exists(folder.standby()));
    EXPECT_FALSE(records.read().trial);
    for (int i = 0; i < 5; ++i)
        EXPECT_FALSE(start());
    EXPECT_TRUE(after.isIn(installed));
}

TEST_F(VersionTrialTest, aHeartbeatOfTheOldVersionEndsNothing)
{
    ASSERT_TRUE(trial().announce("1.0", "2.0"));

    trial().confirm();

    EXPECT_TRUE(records.read().trial);
    EXPECT_TRUE(fs::exists(folder.standby()));
}

TEST_F(VersionTrialTest, aHeartbeatOfAnOldProcessEndsNothing)
{
    VersionTrial old = trial(); // Runs on, in another session.
    install();

    old.confirm();

    EXPECT_TRUE(records.read().trial);
    EXPECT_TRUE(before.isIn(folder.standby()));
}

TEST_F(VersionTrialTest, aHeartbeatForgetsARejectedVersion)
{
    records.change([](UpdateRecord& record) { record.rejected = "1.5"; });
    install();
    start();

    trial().confirm();

    EXPECT_EQ(records.read().rejected, "");
}

TEST_F(VersionTrialTest, whatAPersonPutIntoTheFolderIsNotDeleted)
{
    writeFile(installed / "notes.txt", "mine");
    install();
    start();

    trial().confirm();

    EXPECT_EQ(contentOf(folder.standby() / "notes.txt"), "mine");
}

TEST_F(VersionTrialTest, aSecondStartIsNoStart)
{
    install();
    VersionTrial running = trial();
    running.begin();

    for (int i = 0; i < 5; ++i)
        EXPECT_FALSE(start());

    EXPECT_EQ(records.read().trial->starts, 1);
    EXPECT_TRUE(after.isIn(installed));
}

TEST_F(VersionTrialTest, aKillBeforeTheExchangeLeavesTheOldVersion)
{
    ASSERT_TRUE(trial().announce("1.0", "2.0"));

    EXPECT_FALSE(start());

    EXPECT_FALSE(records.read().trial);
    EXPECT_EQ(records.read().rejected, "");
    EXPECT_TRUE(before.isIn(installed));
}

TEST_F(VersionTrialTest, aKillWhileTheOldVersionIsPutBackStillRejectsTheNewOne)
{
    install();
    start();
    start();
    ASSERT_TRUE(folder.exchange()); // Killed before it is recorded.

    EXPECT_FALSE(start());

    EXPECT_EQ(records.read().rejected, "2.0");
    EXPECT_TRUE(before.isIn(installed));
}

TEST_F(VersionTrialTest, withoutTheOldVersionTheNewOneGoesOn)
{
    install();
    start();
    start();
    fs::remove_all(folder.standby());

    EXPECT_FALSE(start());

    EXPECT_TRUE(after.isIn(installed));
    EXPECT_FALSE(records.read().trial);
}

TEST_F(VersionTrialTest, anotherFoldersTrialIsNotOurs)
{
    install();
    ProgramFolder const elsewhere(temporary.path / "other" / "zelvo-agent");

    for (int i = 0; i < 4; ++i)
        EXPECT_FALSE(VersionTrial(elsewhere, "2.0", records).begin());

    EXPECT_EQ(records.read().trial->starts, 0);
}

TEST(UpdateRecord, survivesItsFile)
{
    UpdateRecord const record{.newest = "2.0",
                              .rejected = "1.5",
                              .lastCheck = 1'800'000'000,
                              .trial =
                                  UpdateTrial{.program = "/a/b", .from = "1.0", .to = "2.0", .starts = 1}};

    EXPECT_EQ(parseUpdateRecord(writeUpdateRecord(record)), record);
}

TEST(UpdateRecord, anUnreadableOneIsEmpty)
{
    for (char const* const text : {"", "[]", "{", "{\"newest\":1,\"trial\":[]}"})
        EXPECT_EQ(parseUpdateRecord(text), UpdateRecord()) << text;
}

TEST(UpdateRecord, startsAreNeverAbsurd)
{
    EXPECT_EQ(parseUpdateRecord(R"({"trial":{"starts":-9000000000}})").trial->starts, 0);
    EXPECT_EQ(parseUpdateRecord(R"({"trial":{"starts":9000000000}})").trial->starts, 100);
}

} // namespace
} // namespace zelvo
