#include "app/updates/UpdateStatus.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Kind = UpdateStatus::Kind;
using Phase = UpdateProgress::Phase;

UpdateItem const item{.displayVersion = "2.5", .notes = "One\nTwo"};
UpdateAbort const nothing{.code = UpdateAbort::nothingFound, .description = "none"};
UpdateAbort const failure{.description = "The server\nis away"};

UpdateStatus status(UpdateProgress const& progress, std::optional<UpdateAbort> const& abort = std::nullopt)
{
    return UpdateStatus::of(progress, abort, "1.2");
}

UpdateStatus download(std::int64_t received, std::int64_t total)
{
    return status(
        {.phase = Phase::downloading, .item = item, .receivedBytes = received, .totalBytes = total});
}

class UpdateStatusTest : public testing::Test {
protected:
    ~UpdateStatusTest() override { texts::useLanguage("en"); }
};

TEST_F(UpdateStatusTest, namesTheOwnVersionBeforeAndWhileItLooks)
{
    EXPECT_EQ(status({}).kind, Kind::idle);
    EXPECT_EQ(status({}).title, localized("main.version", {"1.2"}));

    UpdateStatus const looking = status({.phase = Phase::checking});
    EXPECT_EQ(looking.kind, Kind::checking);
    EXPECT_EQ(looking.title, localized("update.checking"));
    EXPECT_EQ(looking.detail, localized("main.version", {"1.2"}));
    EXPECT_FALSE(looking.fraction);
    EXPECT_TRUE(looking.isBusy());
}

TEST_F(UpdateStatusTest, nothingFoundMeansTheNewestVersion)
{
    for (Phase const phase : {Phase::idle, Phase::checking}) {
        UpdateStatus const found = status({.phase = phase}, nothing);
        EXPECT_EQ(found.kind, Kind::newest);
        EXPECT_EQ(found.title, localized("update.newest"));
        EXPECT_EQ(found.detail, localized("main.version", {"1.2"}));
        EXPECT_FALSE(found.isBusy());
    }
}

TEST_F(UpdateStatusTest, aFailureSaysWhyOnOneLine)
{
    for (Phase const phase : {Phase::idle, Phase::checking, Phase::downloading}) {
        UpdateStatus const failed = status({.phase = phase, .item = item}, failure);
        EXPECT_EQ(failed.kind, Kind::failed);
        EXPECT_EQ(failed.title, localized("update.failed"));
        EXPECT_EQ(failed.detail, text::shownInLine(failure.description, 300));
        EXPECT_EQ(failed.detail.find('\n'), std::string::npos);
    }
}

TEST_F(UpdateStatusTest, aReadyUpdateCountsMoreThanAnEarlierFailure)
{
    UpdateStatus const ready = status({.phase = Phase::ready, .item = item}, failure);

    EXPECT_EQ(ready.kind, Kind::ready);
    EXPECT_EQ(ready.title, localized("update.ready", {"2.5"}));
    EXPECT_EQ(ready.detail, localized("update.ready.detail"));
    EXPECT_EQ(ready.notes, "One\nTwo");
    EXPECT_FALSE(ready.isBusy());
}

TEST_F(UpdateStatusTest, aDownloadSaysHowMuchIsThere)
{
    UpdateStatus const half = download(12'345'678, 20'100'000);

    EXPECT_EQ(half.kind, Kind::downloading);
    EXPECT_EQ(half.title, localized("update.downloading", {"2.5"}));
    EXPECT_EQ(half.amount, "12.3 of 20.1 MB");
    EXPECT_NEAR(half.fraction.value_or(0), 0.614, 0.001);
    EXPECT_EQ(half.notes, "One\nTwo");

    texts::useLanguage("ru");
    EXPECT_EQ(download(12'345'678, 20'100'000).amount, "12,3 из 20,1 МБ");
    EXPECT_EQ(download(0, 999).amount, "0,0 из 0,0 МБ");
}

TEST_F(UpdateStatusTest, aCompleteDownloadIsVerified)
{
    UpdateStatus const complete = download(20'100'000, 20'100'000);

    EXPECT_EQ(complete.kind, Kind::downloading);
    EXPECT_EQ(complete.amount, localized("update.verifying"));
    EXPECT_FALSE(complete.fraction);
}

TEST_F(UpdateStatusTest, bytesThatMakeNoSenseGiveNoFractionBeyondOne)
{
    EXPECT_FALSE(download(5, 0).fraction);
    EXPECT_TRUE(download(5, 0).amount.empty());
    EXPECT_FALSE(download(5, -7).fraction);
    EXPECT_EQ(download(-5, 100).fraction, 0.0);
    EXPECT_EQ(download(200, 100).amount, localized("update.verifying"));
}

TEST_F(UpdateStatusTest, notesKeepTheirLinesAndLoseWhatHasAnEffect)
{
    UpdateItem const foreign{.displayVersion = "2.5\n\u202e",
                             .notes = "\r\n<b>New</b>\r\n\tthis\u202e\u200b\x07 & that\n\nlast\n\n"};

    UpdateStatus const ready = status({.phase = Phase::ready, .item = foreign});

    EXPECT_EQ(ready.notes, "<b>New</b>\n this & that\n\nlast");
    EXPECT_EQ(ready.title.find("\u202e"), std::string::npos);
    EXPECT_EQ(ready.title.find('\n'), std::string::npos);
}

TEST_F(UpdateStatusTest, veryLongNotesAreCut)
{
    UpdateItem const foreign{.displayVersion = std::string(500, '1'), .notes = std::string(30'000, 'x')};

    UpdateStatus const ready = status({.phase = Phase::ready, .item = foreign});

    EXPECT_EQ(ready.notes, std::string(UpdateStatus::maxNotes, 'x') + "…");
    EXPECT_LT(ready.title.size(), 100U);
}

TEST_F(UpdateStatusTest, twoAmountsOfADownloadAreAlike)
{
    EXPECT_TRUE(download(1, 100).isLike(download(50, 100)));
    EXPECT_TRUE(download(1, 100).isLike(download(100, 100)));
    EXPECT_FALSE(download(1, 100).isLike(status({.phase = Phase::ready, .item = item})));
    EXPECT_FALSE(status({}, failure).isLike(status({}, UpdateAbort{.description = "else"})));
}

} // namespace
} // namespace zelvo
