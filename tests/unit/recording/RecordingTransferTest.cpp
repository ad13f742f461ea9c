#include "recording/RecordingTransfer.h"

#include "unit/recording/UploaderHarness.h"

#include <sys/stat.h>

#include <algorithm>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using Kind = NetworkFailure::Kind;

/// A transfer under its uploader, one recording at a time.
class RecordingTransferTest : public UploaderHarness {};

// Outcomes of the steps.

TEST_F(RecordingTransferTest, handsARecordingOverInThreeSteps)
{
    accepted();
    FinishedRecording const finished = recording("a.mp4");
    handle(finished);

    EXPECT_EQ(handled, 1);
    EXPECT_THAT(calls(), ElementsAre("recordings", "complete"));
    EXPECT_EQ(platform.loading.requests[0].url, "https://gateway.test/machines/recordings");
    EXPECT_EQ(bodyOf(0), (json::object{{"connectionId", "c1"}, {"durationSec", 12.5}, {"sizeBytes", 15}}));
    EXPECT_EQ(platform.loading.requests[1].url, "https://gateway.test/machines/recordings/complete");
    EXPECT_EQ(bodyOf(1), (json::object{{"recordingId", "r1"}}));
    ASSERT_THAT(platform.loading.uploads, SizeIs(1));
    HttpUpload const& put = platform.loading.uploads[0];
    EXPECT_EQ(put.gatewayPeer, "192.0.2.1");
    EXPECT_EQ(put.url, "https://store.test/r1");
    EXPECT_EQ(put.method, "PUT");
    EXPECT_EQ(put.file, finished.file);
    EXPECT_EQ(put.bytes, 15);
    EXPECT_EQ(put.timeout, 600s);
    EXPECT_THAT(put.headers, ElementsAre(Pair("Content-Type", "video/mp4"))) << "and no token";
    EXPECT_THAT(queued(), IsEmpty());
    ASSERT_THAT(lines(), SizeIs(2));
    EXPECT_EQ(lines()[0].summary, localized("recording.uploaded"));
    EXPECT_EQ(lines()[0].platformName, "Acme");
    EXPECT_EQ(lines()[0].connectionId, "c1");
    EXPECT_TRUE(std::filesystem::exists(finished.file)) << "it stays until its time is over";
}

TEST_F(RecordingTransferTest, knowsAGatewayBehindAProxyByItsHost)
{
    platform.loading.peer = "";
    accepted();
    handle(recording("a.mp4"));

    ASSERT_THAT(platform.loading.uploads, SizeIs(1));
    EXPECT_EQ(platform.loading.uploads[0].gatewayPeer, "gateway.test");
}

TEST_F(RecordingTransferTest, keepsLocalWhatTheServiceRefusesForGood)
{
    struct Case {
        int status;
        std::string body;
        std::string reason;
    };
    for (Case const& one :
         {Case{403, R"({"error":{"code":"scope_denied"}})", "scope_denied"},
          Case{403, R"({"error":{"code":"recording_not_shared"}})", "recording_not_shared"},
          Case{503, R"({"error":{"code":"recordings_unavailable"}})", "recordings_unavailable"},
          Case{413, R"({"error":{"code":"too_big"}})", "too_big"}, Case{404, "<html>", "http_404"},
          Case{401, R"({"error":"code"})", "http_401"}}) {
        enqueue("a.mp4");
        std::size_t const before = lines().size();
        platform.loading.answer(one.status, one.body);
        drain();
        ASSERT_EQ(lines().size(), before + 1);
        EXPECT_EQ(lines()[0].summary, keptLocal(one.reason));
        EXPECT_THAT(queued(), IsEmpty());
    }
    EXPECT_THAT(platform.loading.uploads, IsEmpty());
}

TEST_F(RecordingTransferTest, triesAgainAfterAnyOtherAnswerToTheFirstStep)
{
    for (int const status : {100, 301, 302, 307, 402, 429, 500, 502, 503}) {
        enqueue("a.mp4");
        platform.loading.answer(status, R"({"recordingId":"r1","uploadUrl":"https://evil.test/"})");
        drain();
        EXPECT_THAT(queued(), ElementsAre("a.mp4:1")) << status;
        queue.remove(folder.path / "a.mp4");
    }
    EXPECT_THAT(platform.loading.uploads, IsEmpty());
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(RecordingTransferTest, triesAgainAfterASuccessWithoutAnAddress)
{
    for (std::string const body :
         {"", "null", "[]", "\xff\xfe", "{", "<html>", R"({"recordingId":"r1"})",
          R"({"uploadUrl":"https://store.test/"})", R"({"recordingId":1,"uploadUrl":"https://store.test/"})",
          R"({"recordingId":"r1","uploadUrl":"not a url"})", R"({"recordingId":"r1","uploadUrl":""})"}) {
        enqueue("a.mp4");
        platform.loading.answer(200, body);
        drain();
        EXPECT_THAT(queued(), ElementsAre("a.mp4:1")) << body;
        queue.remove(folder.path / "a.mp4");
    }
    EXPECT_THAT(platform.loading.uploads, IsEmpty());
}

TEST_F(RecordingTransferTest, triesAgainWhenTheRecordingDidNotGetThrough)
{
    for (int const status : {0, 199, 300, 302, 403, 404, 413, 500}) {
        enqueue("a.mp4");
        announced();
        platform.loading.answer(status, R"({"error":{"code":"scope_denied"}})");
        drain();
        EXPECT_THAT(queued(), ElementsAre("a.mp4:1")) << status;
        queue.remove(folder.path / "a.mp4");
    }
    for (Kind const kind : {Kind::lost, Kind::timedOut, Kind::unreachable, Kind::tls, Kind::other}) {
        enqueue("a.mp4");
        announced();
        platform.loading.fail(kind);
        drain();
        EXPECT_THAT(queued(), ElementsAre("a.mp4:1"));
        queue.remove(folder.path / "a.mp4");
    }
    EXPECT_TRUE(std::ranges::all_of(calls(), [](auto const& call) { return call == "recordings"; }))
        << "nothing is completed";
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(RecordingTransferTest, takesAnyAnswerToTheRecordingThatIsASuccess)
{
    enqueue("a.mp4");
    announced();
    platform.loading.answer(204, "garbage \xff");
    platform.loading.answer(201, "more garbage");
    drain();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(lines()[0].summary, localized("recording.uploaded"));
}

TEST_F(RecordingTransferTest, goesByTheAnswerToTheLastStep)
{
    enqueue("a.mp4");
    announced();
    platform.loading.answer(200, "");
    platform.loading.answer(409, R"({"error":{"code":"gone"}})");
    drain();
    expectKeptLocal("gone");

    enqueue("b.mp4");
    announced();
    platform.loading.answer(200, "");
    platform.loading.fail(Kind::lost);
    drain();
    EXPECT_THAT(queued(), ElementsAre("b.mp4:1"));
}

TEST_F(RecordingTransferTest, keepsLocalWhatIsNoRecordingAnyMore)
{
    std::string const path = enqueue("a.mp4");
    std::filesystem::remove(path); // As the retention sweep does.
    drain();
    expectKeptLocal("file_missing");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingTransferTest, sendsOnlyFilesThatHoldSomething)
{
    auto const expectMissing = [this](std::string path) {
        queue.append({.path = std::move(path), .connectionId = "c1", .durationSec = 1});
        drain();
        EXPECT_THAT(queued(), IsEmpty());
        EXPECT_EQ(lines()[0].summary, keptLocal("file_missing"));
    };
    writeFile(folder.path / "empty.mp4", "");
    ASSERT_EQ(::mkfifo((folder.path / "pipe.mp4").c_str(), 0600), 0);

    expectMissing(folder.path / "empty.mp4");
    expectMissing(folder.path / "pipe.mp4");
    expectMissing(folder.path);
    expectMissing("/dev/zero");
    expectMissing("recording.mp4");
    expectMissing("");
    expectMissing(recording("a.mp4").file.native() + std::string("\0.mp4", 5));
    expectMissing("/" + std::string(100'000, 'x'));
    EXPECT_THAT(lines(), SizeIs(8));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingTransferTest, takesTheTokenOfTheMomentForEachStep)
{
    auto const tokenOf = [this](std::size_t request) {
        HttpHeaders const& headers = platform.loading.requests.at(request).headers;
        return std::ranges::find(headers, "Authorization", &HttpHeaders::value_type::first)->second;
    };
    enqueue("a.mp4");
    announced();
    drain();
    zelvo::run(platform.io, keychain.set("mt_2", Keychain::Item::machineToken));
    platform.loading.answer(200, "");
    platform.loading.answer(200, "");
    settle();

    EXPECT_THAT(calls(), ElementsAre("recordings", "complete"));
    EXPECT_EQ(tokenOf(0), "Bearer mt_1");
    EXPECT_EQ(tokenOf(1), "Bearer mt_2");
}

TEST_F(RecordingTransferTest, triesAgainWhenTheTokenGoesMeanwhile)
{
    enqueue("a.mp4");
    announced();
    drain();
    zelvo::run(platform.io, keychain.remove(Keychain::Item::machineToken));
    platform.loading.answer(200, "");
    settle();

    EXPECT_THAT(calls(), ElementsAre("recordings")) << "nothing is completed";
    EXPECT_THAT(queued(), ElementsAre("a.mp4:1"));
}

// A revoked right takes effect.

TEST_F(RecordingTransferTest, keepsLocalARecordingWhoseConnectionWasRevoked)
{
    enqueue("a.mp4");
    state.revoke("c1");
    drain();

    expectKeptLocal("scope_denied");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingTransferTest, keepsLocalARecordingWhoseConnectionLostTheScope)
{
    enqueue("a.mp4");
    state.setScopes({AgentScope::screen, AgentScope::input}, "c1");
    drain();

    expectKeptLocal("scope_denied");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingTransferTest, keepsLocalARecordingThatIsNoLongerShared)
{
    for (std::optional<bool> const share : {std::optional(false), std::optional<bool>()}) {
        enqueue("a.mp4");
        state.setShareRecordings(share, "c1");
        drain();
        EXPECT_THAT(queued(), IsEmpty());
        EXPECT_EQ(lines()[0].summary, keptLocal("recording_not_shared"));
    }
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(RecordingTransferTest, postponesAllRecordingsWhileTheModeIsNotShare)
{
    enqueue("a.mp4");
    enqueue("b.mp4", 4);
    for (RecordingMode const mode : {RecordingMode::local, RecordingMode::off}) {
        settings.setMode(mode);
        for (int tick = 0; tick < 6; ++tick)
            drain();
        EXPECT_THAT(queued(), ElementsAre("a.mp4:0", "b.mp4:4")) << "no try is counted";
    }
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(lines(), IsEmpty());

    settings.setMode(RecordingMode::share);
    accepted("r1");
    accepted("r2");
    drain();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(platform.loading.uploads, SizeIs(2));
}

TEST_F(RecordingTransferTest, dropsAPostponedRecordingWhoseRightIsGone)
{
    struct Case {
        std::function<void()> takeAway;
        std::string reason;
    };
    settings.setMode(RecordingMode::local);
    for (Case const& one :
         {Case{[this] { state.setShareRecordings(false, "c1"); }, "recording_not_shared"},
          Case{[this] { state.setShareRecordings(std::nullopt, "c1"); }, "recording_not_shared"},
          Case{[this] { state.setScopes({AgentScope::screen}, "c1"); }, "scope_denied"},
          Case{[this] { state.revoke("c1"); }, "scope_denied"}}) {
        enqueue("a.mp4");
        one.takeAway();
        drain();
        EXPECT_THAT(queued(), IsEmpty());
        EXPECT_EQ(lines()[0].summary, keptLocal(one.reason));
    }
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingTransferTest, dropsAPostponedRecordingWhoseFileIsGone)
{
    settings.setMode(RecordingMode::off);
    std::filesystem::remove(enqueue("a.mp4"));
    drain();

    expectKeptLocal("file_missing");
}

TEST_F(RecordingTransferTest, doesNotSendLaterWhatWasKeptLocal)
{
    enqueue("a.mp4");
    state.setShareRecordings(false, "c1");
    drain();
    state.setShareRecordings(true, "c1");
    drain();

    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingTransferTest, sendsNoRecordingWhenTheRightGoesAfterTheAnnouncement)
{
    enqueue("a.mp4");
    drain();
    state.setShareRecordings(false, "c1");
    announced();
    settle();

    EXPECT_THAT(platform.loading.uploads, IsEmpty());
    expectKeptLocal("recording_not_shared");
}

TEST_F(RecordingTransferTest, stopsARecordingOnItsWayWhenTheRightGoes)
{
    enqueue("a.mp4");
    enqueue("b.mp4");
    announced();
    drain();
    ASSERT_THAT(platform.loading.uploads, SizeIs(1));
    platform.loading.progress(3);
    platform.time.advance(1s);
    platform.loading.progress(4); // The right still holds.
    state.revoke("c1");
    platform.time.advance(1s);
    platform.loading.progress(5);
    settle();

    EXPECT_THAT(calls(), ElementsAre("recordings")) << "not completed, and b is not begun";
    EXPECT_THAT(queued(), IsEmpty());
    ASSERT_THAT(lines(), SizeIs(2));
    EXPECT_EQ(lines()[0].summary, keptLocal("scope_denied"));
    EXPECT_EQ(drained, 1);
    EXPECT_EQ(platform.time.sleeperCount(), 0U);
}

TEST_F(RecordingTransferTest, stopsARecordingOnItsWayWhenTheModeChangesAndSendsItLater)
{
    enqueue("a.mp4", 4);
    announced();
    drain();
    settings.setMode(RecordingMode::off);
    platform.time.advance(1s);
    settings.setMode(RecordingMode::share); // Too late for this upload.
    platform.loading.progress(5);
    settle();

    EXPECT_THAT(calls(), ElementsAre("recordings")) << "not completed";
    EXPECT_THAT(queued(), ElementsAre("a.mp4:4"));
    EXPECT_THAT(lines(), IsEmpty());

    accepted("r2");
    drain();
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(lines()[0].summary, localized("recording.uploaded"));
}

TEST_F(RecordingTransferTest, postponesBetweenTheStepsWhenTheModeChanges)
{
    enqueue("a.mp4");
    drain();
    settings.setMode(RecordingMode::local);
    announced();
    settle();
    EXPECT_THAT(platform.loading.uploads, IsEmpty());
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0"));

    settings.setMode(RecordingMode::share);
    announced();
    drain();
    ASSERT_THAT(platform.loading.uploads, SizeIs(1));
    settings.setMode(RecordingMode::local);
    platform.loading.answer(200, "");
    settle();
    EXPECT_THAT(calls(), ElementsAre("recordings", "recordings")) << "not completed";
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0"));
    EXPECT_THAT(lines(), IsEmpty());
}

TEST_F(RecordingTransferTest, completesNothingWhenTheRightGoesWithTheLastByte)
{
    enqueue("a.mp4");
    announced();
    drain();
    state.setShareRecordings(false, "c1");
    platform.loading.answer(200, "");
    settle();

    EXPECT_THAT(calls(), ElementsAre("recordings"));
    expectKeptLocal("recording_not_shared");
}

TEST_F(RecordingTransferTest, namesAConnectionThatGoesAtTheEndAsAnUnnamedPlatform)
{
    enqueue("a.mp4");
    announced();
    platform.loading.answer(200, "");
    drain();
    state.revoke("c1");
    platform.loading.answer(200, "");
    settle();

    EXPECT_EQ(lines()[0].summary, localized("recording.uploaded"));
    EXPECT_EQ(lines()[0].platformName, localized("common.platform"));
    EXPECT_EQ(lines()[0].connectionId, "c1");
}

// Progress.

TEST_F(RecordingTransferTest, reportsProgress)
{
    EXPECT_EQ(uploader.progress(), std::nullopt);
    std::string const path = enqueue("a.mp4");
    announced();
    drain();
    RecordingUploadProgress expected{.path = path, .connectionId = "c1", .sentBytes = 0, .totalBytes = 15};
    EXPECT_EQ(uploader.progress(), expected);
    platform.loading.progress(7);
    expected.sentBytes = 7;
    EXPECT_EQ(uploader.progress(), expected);
    platform.loading.answer(200, "");
    settle();
    EXPECT_EQ(uploader.progress(), std::nullopt);
    HttpUpload const late = platform.loading.uploads[0];
    EXPECT_TRUE(late.onProgress(15));
    EXPECT_EQ(uploader.progress(), std::nullopt) << "a late word changes nothing";
}

TEST_F(RecordingTransferTest, checksTheRightOnlyDuringTheUpload)
{
    enqueue("a.mp4");
    announced();
    drain();
    EXPECT_EQ(platform.time.sleeperCount(), 1U);
    platform.loading.answer(200, "");
    settle();
    EXPECT_EQ(platform.time.sleeperCount(), 0U);
}

} // namespace
} // namespace zelvo
