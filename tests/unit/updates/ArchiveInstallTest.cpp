#include "base/LocalizedTexts.h"
#include "unit/updates/UpdatesFixture.h"

#include <unistd.h>

namespace zelvo {
namespace {

namespace fs = std::filesystem;

/// The superuser may write everywhere, so these folders become somebody else's, who runs the rest.
class AsNobody {
public:
    explicit AsNobody(std::vector<fs::path> const& folders)
    {
        constexpr uid_t nobody = 65534;
        if (::geteuid() != 0)
            return;
        for (fs::path const& folder : folders)
            EXPECT_EQ(::chown(folder.c_str(), nobody, nobody), 0);
        EXPECT_EQ(::seteuid(nobody), 0);
    }
    AsNobody(AsNobody const&) = delete;
    AsNobody& operator=(AsNobody const&) = delete;
    ~AsNobody() { EXPECT_EQ(::seteuid(::getuid()), 0); }
};

/// The program's folder before, at and after an update.
class ArchiveInstallTest : public UpdatesFixture {
protected:
    void installAfter()
    {
        start();
        offer(after);
        check();
        ASSERT_TRUE(controller->installOnQuit());
    }
};

TEST_F(ArchiveInstallTest, leavesAFolderWithOtherFilesAlone)
{
    writeFile(installed / "diary.txt", "mine");
    start();
    offer(after);
    check();

    expectFailure(localized("update.error.foreignFiles", {installed.string()}));
    EXPECT_TRUE(platform.loading.downloads.empty());
}

TEST_F(ArchiveInstallTest, withoutTheRightToWriteItSaysWhere)
{
    fs::create_directories(records);
    {
        AsNobody const nobody({temporary.path, installed, records});
        fs::permissions(temporary.path, fs::perms::owner_read | fs::perms::owner_exec);
        start();
        offer(after);
        check();
        fs::permissions(temporary.path, fs::perms::owner_all);
    }

    expectFailure(localized("update.error.folder", {temporary.path.string()}));
}

TEST_F(ArchiveInstallTest, twoAgentsDoNotUpdateAFolderAtOnce)
{
    UniqueFd const lock = ProgramFolder(installed / "zelvo-agent").lock();
    start();
    offer(after);
    check();

    ASSERT_EQ(aborts.size(), 1U);
    EXPECT_EQ(aborts.back().description, localized("update.error.busy"));
    EXPECT_TRUE(platform.loading.downloads.empty());
}

TEST_F(ArchiveInstallTest, doesNotInstallOverWhatAnotherAgentInstalled)
{
    start();
    offer(after);
    check();
    ASSERT_TRUE(isReady());
    TestVersion{.version = "1.5"}.writeTo(installed);

    EXPECT_FALSE(controller->installOnQuit());

    EXPECT_TRUE(TestVersion{.version = "1.5"}.isIn(installed));
    EXPECT_TRUE(installing.empty());
}

TEST_F(ArchiveInstallTest, doesNotMoveFilesThatArrivedMeanwhile)
{
    start();
    offer(after);
    check();
    ASSERT_TRUE(isReady());
    writeFile(installed / "diary.txt", "mine");

    EXPECT_FALSE(controller->installOnQuit());

    EXPECT_TRUE(before.isIn(installed));
    EXPECT_TRUE(installing.empty());
    controller.reset();
    platform.settle();
    start();
    ASSERT_EQ(aborts.size(), 1U);
    EXPECT_EQ(aborts.back().description, localized("update.error.notInstalled", {"2.0"}));
}

TEST_F(ArchiveInstallTest, staysWithItsGateway)
{
    platform.info.texts["ZelvoGatewayURL"] = "wss://mine.example";
    installAfter();

    EXPECT_NE(contentOf(installed / "Info.json").find("wss://mine.example"), std::string::npos);
    EXPECT_EQ(fs::status(installed / "Info.json").permissions(), fs::perms(0644));
}

TEST_F(ArchiveInstallTest, aStillNewerVersionReplacesWhatIsReady)
{
    start();
    offer(after);
    check();
    ASSERT_TRUE(isReady());

    TestVersion const newest{.version = "3.0"};
    offer(newest);
    platform.time.advance(24h);

    ASSERT_TRUE(isReady());
    EXPECT_EQ(reports.back().item.displayVersion, "3.0");
    ASSERT_TRUE(controller->installOnQuit());
    EXPECT_TRUE(newest.isIn(installed));
}

TEST_F(ArchiveInstallTest, whatIsReadyStaysReadyWhenTheNextCheckFindsNothing)
{
    start();
    offer(after);
    check();
    ASSERT_TRUE(isReady());

    offerFeed({.version = "2.0", .archive = after.archive()});
    platform.time.advance(24h);
    platform.loading.fail(NetworkFailure::Kind::offline, "no network");
    platform.time.advance(24h);

    EXPECT_TRUE(isReady());
    EXPECT_TRUE(aborts.empty());
    EXPECT_TRUE(controller->installOnQuit());
}

TEST_F(ArchiveInstallTest, duringATrialNothingIsDownloaded)
{
    UpdateRecords(records).change([&](UpdateRecord& record) {
        record.trial =
            UpdateTrial{.program = (installed / "zelvo-agent").string(), .from = "0.9", .to = "1.0"};
    });
    TestVersion{.version = "0.9"}.writeTo(standby);
    start();

    check();

    ASSERT_EQ(aborts.size(), 1U);
    EXPECT_EQ(aborts.back().description, localized("update.error.trial", {"1.0"}));
    platform.time.advance(25h);
    EXPECT_TRUE(platform.loading.requests.empty());
    EXPECT_TRUE(TestVersion{.version = "0.9"}.isIn(standby));
}

TEST_F(ArchiveInstallTest, beginsAnewWhatTheServerDoesNotContinue)
{
    TestFeed const feed{.version = "2.0", .archive = after.archive()};
    start();
    offerFeed(feed);
    check();
    writeFile(platform.loading.downloads.back().file, "some of it");
    platform.loading.answer(416, "");
    platform.settle();

    EXPECT_TRUE(downloads().empty());
}

TEST_F(ArchiveInstallTest, doesNotInstallAStandbyThatChanged)
{
    start();
    offer(after);
    check();
    ASSERT_TRUE(isReady());
    fs::remove_all(standby);

    EXPECT_FALSE(controller->installOnQuit());

    EXPECT_TRUE(before.isIn(installed));
    EXPECT_TRUE(installing.empty());
}

TEST_F(ArchiveInstallTest, theNewFolderHasTheModeOfTheOld)
{
    fs::permissions(installed, fs::perms(0700));
    installAfter();

    EXPECT_EQ(fs::status(installed).permissions(), fs::perms(0700));
}

TEST_F(ArchiveInstallTest, theNewFolderIsWritableForNobodyElse)
{
    fs::permissions(installed, fs::perms(0777));
    installAfter();

    EXPECT_EQ(fs::status(installed).permissions(), fs::perms(0755));
}

TEST_F(ArchiveInstallTest, aStartRemovesAnUnfinishedStandby)
{
    fs::create_directories(standby);
    writeFile(standby / "zelvo-agent", "half");

    start();

    EXPECT_FALSE(fs::exists(standby));
}

TEST_F(ArchiveInstallTest, aStartKeepsTheOldVersionDuringATrial)
{
    installAfter();
    controller.reset();
    platform.settle();
    platform.info.texts["CFBundleShortVersionString"] = "2.0";
    auto updates = makeUpdates();
    EXPECT_FALSE(updates.begin());
    controller = updates.start(*this);
    platform.settle();
    EXPECT_TRUE(before.isIn(standby));

    controller->confirmVersion();
    platform.settle();

    EXPECT_FALSE(fs::exists(standby));
    EXPECT_TRUE(after.isIn(installed));
}

TEST_F(ArchiveInstallTest, aMinuteOfRunningCountsAsAStart)
{
    installAfter();
    controller.reset();
    platform.settle();
    platform.info.texts["CFBundleShortVersionString"] = "2.0";
    auto updates = makeUpdates();
    updates.begin();
    controller = updates.start(*this);
    platform.settle();
    EXPECT_EQ(UpdateRecords(records).read().trial->starts, 1);

    platform.time.advance(1min);

    EXPECT_EQ(UpdateRecords(records).read().trial->starts, 0);
}

} // namespace
} // namespace zelvo
