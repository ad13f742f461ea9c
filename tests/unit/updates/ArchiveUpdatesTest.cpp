#include "platform/portable/updates/ArchiveUpdates.h"

#include "base/LocalizedTexts.h"
#include "unit/updates/UpdatesFixture.h"

namespace zelvo {
namespace {

namespace fs = std::filesystem;

class ArchiveUpdatesTest : public UpdatesFixture {
protected:
    void expectNothingFound()
    {
        ASSERT_EQ(aborts.size(), 1U);
        EXPECT_EQ(aborts.back().code, UpdateAbort::nothingFound);
        expectUntouched();
    }
};

TEST_F(ArchiveUpdatesTest, installsANewerVersionAtTheEndOfTheProgram)
{
    start();
    offer(after);
    check();

    ASSERT_TRUE(isReady());
    EXPECT_EQ(reports.back().item, (UpdateItem{.displayVersion = "2.0", .notes = "New in 2.0"}));
    EXPECT_TRUE(before.isIn(installed));
    EXPECT_TRUE(installing.empty());

    EXPECT_TRUE(controller->installOnQuit());

    EXPECT_TRUE(after.isIn(installed));
    EXPECT_TRUE(before.isIn(standby));
    EXPECT_EQ(installing.size(), 1U);
    EXPECT_TRUE(downloads().empty());
}

TEST_F(ArchiveUpdatesTest, reportsHowFarItIs)
{
    start();
    offer(after);
    check();

    std::vector<Phase> phases;
    for (UpdateProgress const& one : reports)
        phases.push_back(one.phase);
    EXPECT_EQ(phases, (std::vector{Phase::checking, Phase::downloading, Phase::ready}));
    EXPECT_EQ(reports.at(1).totalBytes, static_cast<std::int64_t>(after.archive().size()));
    EXPECT_EQ(reports.at(1).item.displayVersion, "2.0");
}

TEST_F(ArchiveUpdatesTest, passesOnWhatTheDownloadReports)
{
    start();
    offerFeed({.version = "2.0", .archive = after.archive()});
    check();
    ASSERT_EQ(platform.loading.downloads.size(), 1U);

    platform.loading.downloads.back().onProgress(17);
    platform.settle();

    EXPECT_EQ(reports.back().receivedBytes, 17);
    EXPECT_EQ(reports.back().phase, Phase::downloading);
}

TEST_F(ArchiveUpdatesTest, checksAMinuteAfterTheStartThenOnceADay)
{
    start();
    platform.time.advance(59s);
    EXPECT_TRUE(platform.loading.requests.empty());

    offerFeed({.version = "1.0", .archive = "x"});
    platform.time.advance(1s);
    EXPECT_EQ(platform.loading.requests.size(), 1U);

    platform.time.advance(24h - 1s);
    EXPECT_EQ(platform.loading.requests.size(), 1U);
    platform.time.advance(1s);
    EXPECT_EQ(platform.loading.requests.size(), 2U);
}

TEST_F(ArchiveUpdatesTest, aRestartDoesNotBringTheNextCheckForward)
{
    start();
    offerFeed({.version = "1.0", .archive = "x"});
    platform.time.advance(1min);
    controller.reset();
    platform.settle();
    platform.time.advance(20h);
    start();

    platform.time.advance(4h - 1s);
    EXPECT_EQ(platform.loading.requests.size(), 1U);
    platform.time.advance(1s);
    EXPECT_EQ(platform.loading.requests.size(), 2U);
}

TEST_F(ArchiveUpdatesTest, aClockThatIsYearsOffBringsNoCheckToAHalt)
{
    platform.time.start = Date(std::chrono::sys_days(std::chrono::year(2099) / 1 / 1));
    start();
    offerFeed({.version = "1.0", .archive = "x"});
    platform.time.advance(1min);
    controller.reset();
    platform.settle();
    platform.time.start = Date(std::chrono::sys_days(std::chrono::year(2026) / 1 / 1));
    start();

    platform.time.advance(1min);

    EXPECT_EQ(platform.loading.requests.size(), 2U);
}

TEST_F(ArchiveUpdatesTest, triesAgainAnHourAfterAFailure)
{
    start();
    platform.loading.fail(NetworkFailure::Kind::offline, "no network");
    platform.time.advance(1min);
    EXPECT_EQ(aborts.at(0).description, localized("update.error.network", {"no network"}));

    platform.time.advance(1h - 1s);
    EXPECT_EQ(platform.loading.requests.size(), 1U);
    platform.time.advance(1s);
    EXPECT_EQ(platform.loading.requests.size(), 2U);
}

TEST_F(ArchiveUpdatesTest, aSecondRequestWhileItChecksChangesNothing)
{
    start();
    check();
    check();

    EXPECT_EQ(platform.loading.requests.size(), 1U);
}

TEST_F(ArchiveUpdatesTest, aRequestWhenAnUpdateIsReadyShowsItAgain)
{
    start();
    offer(after);
    check();
    reports.clear();
    check();

    EXPECT_TRUE(isReady());
    EXPECT_EQ(platform.loading.requests.size(), 1U);
}

TEST_F(ArchiveUpdatesTest, neverInstallsAnEqualOrOlderVersion)
{
    for (char const* const version : {"1.0", "1", "1.0.0", "0.9.9"}) {
        aborts.clear();
        start();
        offerFeed({.version = version, .archive = "x"});
        check();
        expectNothingFound();
    }
}

TEST_F(ArchiveUpdatesTest, aReplayedFeedOffersNothing)
{
    start();
    offerFeed({.version = "3.0", .archive = "x"});
    platform.loading.answer(503, "");
    check();
    aborts.clear();

    offer(after); // 2.0 is newer than this program, but older than what was offered before.
    check();

    expectNothingFound();
}

TEST_F(ArchiveUpdatesTest, aVersionThatCouldNotStartIsNotOfferedAgain)
{
    UpdateRecords(records).change([](UpdateRecord& record) { record.rejected = "2.0"; });
    start();
    ASSERT_EQ(aborts.size(), 1U);
    EXPECT_EQ(aborts.at(0).description, localized("update.error.putBack", {"2.0", "1.0"}));
    aborts.clear();

    offer(after);
    check();
    expectNothingFound();
}

TEST_F(ArchiveUpdatesTest, whatFollowsAVersionThatCouldNotStartIsOffered)
{
    UpdateRecords(records).change([](UpdateRecord& record) { record.rejected = "2.0"; });
    start();
    after.version = "2.0.1";
    offer(after);
    check();

    EXPECT_TRUE(isReady());
}

TEST_F(ArchiveUpdatesTest, withoutAnHttpsAddressItSaysSo)
{
    for (char const* const address : {"", "http://updates.example/feed.json", "ftp://x"}) {
        aborts.clear();
        platform.info.texts["SUFeedURL"] = address;
        start();
        check();
        expectFailure(localized("update.error.address"));
    }
    EXPECT_TRUE(platform.loading.requests.empty());
}

TEST_F(ArchiveUpdatesTest, withAKeyThatIsNoneItSaysSo)
{
    platform.info.texts["SUPublicEDKey"] = "key";
    start();
    check();

    expectFailure(localized("update.error.key"));
}

TEST_F(ArchiveUpdatesTest, saysWhatTheServerAnswered)
{
    start();
    platform.loading.answer(404, "not here");
    check();

    expectFailure(localized("update.error.status", {std::int64_t{404}}));
}

TEST_F(ArchiveUpdatesTest, aConnectionThatIsNotSecurePointsToTheClock)
{
    start();
    platform.loading.fail(NetworkFailure::Kind::tls, "certificate is not yet valid");
    check();

    expectFailure(localized("update.error.tls", {"certificate is not yet valid"}));
}

TEST_F(ArchiveUpdatesTest, continuesADownloadThatBroke)
{
    TestFeed const feed{.version = "2.0", .archive = after.archive()};
    start();
    offerFeed(feed);
    platform.loading.answer(200, feed.archive.substr(0, 50));
    check();
    expectFailure(localized("update.error.length")); // The server said that this was all.

    offerFeed(feed);
    check();
    ASSERT_EQ(platform.loading.downloads.size(), 2U);
    writeFile(platform.loading.downloads.back().file, feed.archive.substr(0, 50));
    platform.loading.answer(206, feed.archive.substr(50));
    platform.settle();

    EXPECT_TRUE(isReady());
}

TEST_F(ArchiveUpdatesTest, aCompleteDownloadIsNotRepeated)
{
    TestFeed const feed{.version = "2.0", .archive = after.archive()};
    start();
    offer(after);
    check();
    ASSERT_TRUE(isReady());
    controller.reset(); // Killed before its end.
    platform.settle();
    start();

    offerFeed(feed);
    platform.time.advance(1min); // A waiting download brings the check forward.

    EXPECT_TRUE(isReady());
    EXPECT_EQ(platform.loading.downloads.size(), 1U);
}

TEST_F(ArchiveUpdatesTest, theDownloadOfAnotherVersionIsRemoved)
{
    fs::create_directories(records);
    writeFile(records / "0123.download", "of another version");
    start();
    offer(after);
    check();

    EXPECT_EQ(downloads().size(), 1U);
    EXPECT_TRUE(isReady());
}

TEST_F(ArchiveUpdatesTest, refusesAnArchiveThatSomeoneElseSigned)
{
    TestFeed feed{.version = "2.0", .archive = after.archive()};
    feed.signature = TestSigner().sign(feed.archive);
    start();
    offerFeed(feed);
    platform.loading.answer(200, feed.archive);
    check();

    expectFailure(localized("update.error.archiveSignature"));
    EXPECT_TRUE(downloads().empty());
    EXPECT_FALSE(fs::exists(standby));
}

TEST_F(ArchiveUpdatesTest, refusesAnArchiveThatChangedByOneByte)
{
    TestFeed const feed{.version = "2.0", .archive = after.archive()};
    std::string changed = feed.archive;
    changed.at(changed.size() / 2) ^= 1;
    start();
    offerFeed(feed);
    platform.loading.answer(200, changed);
    check();

    expectFailure(localized("update.error.archiveSignature"));
}

TEST_F(ArchiveUpdatesTest, refusesAnArchiveOfAnotherVersionThanItsFeedSays)
{
    start();
    offerFeed({.version = "3.0", .archive = after.archive()});
    platform.loading.answer(200, after.archive());
    check();

    expectFailure(localized("update.error.archive"));
}

TEST_F(ArchiveUpdatesTest, doesNotInstallWhatCannotStartHere)
{
    for (int const status : {0, 127, 11}) {
        aborts.clear();
        fs::remove_all(records);
        startStatus = status;
        start();
        offer(after);
        check();
        expectFailure(localized("update.error.start", {"2.0"}));
    }
}

TEST_F(ArchiveUpdatesTest, doesNotInstallWhatCannotBeLaunched)
{
    platform.processes.failure = "wrong format";
    start();
    offer(after);
    check();

    expectFailure(localized("update.error.start", {"2.0"}));
}

TEST_F(ArchiveUpdatesTest, endsANewVersionThatDoesNotEnd)
{
    platform.processes.onLaunch = [](std::shared_ptr<FakeChild> const& child) {
        child->onSignal = [child = child.get()](GroupSignal) { child->end(9); };
    };
    start();
    offer(after);
    check();
    EXPECT_TRUE(aborts.empty());

    platform.time.advance(20s);

    EXPECT_EQ(platform.processes.last().signals, std::vector{GroupSignal::kill});
    expectFailure(localized("update.error.start", {"2.0"}));
}

TEST_F(ArchiveUpdatesTest, theFirstStartOfANewVersionHasNoDisplay)
{
    start();
    offer(after);
    check();

    ChildLaunch const& launch = platform.processes.last().launch;
    EXPECT_EQ(launch.executable, standby / "zelvo-agent");
    EXPECT_EQ(launch.environment.at("DISPLAY"), "");
    EXPECT_EQ(launch.environment.at("WAYLAND_DISPLAY"), "");
}

TEST_F(ArchiveUpdatesTest, itsEndStopsACheck)
{
    start();
    check();
    ASSERT_EQ(platform.loading.requests.size(), 1U);

    controller.reset();
    platform.settle();
    offer(after);
    platform.time.advance(48h);

    EXPECT_EQ(platform.loading.requests.size(), 1U);
    EXPECT_TRUE(aborts.empty());
}

} // namespace
} // namespace zelvo
