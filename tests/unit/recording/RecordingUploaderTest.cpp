#include "recording/RecordingUploader.h"

#include "base/LocalizedTexts.h"
#include "fakes/FakePlatform.h"
#include "unit/system/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using Kind = NetworkFailure::Kind;

constexpr char const* key = "zelvo.recording.pendingUploads";

class RecordingUploaderTest : public testing::Test {
protected:
    RecordingUploaderTest()
    {
        zelvo::run(platform.io, keychain.set("mt_1", Keychain::Item::machineToken));
        settings.setMode(RecordingMode::share);
        grant("c1", "Acme");
        state.setShareRecordings(true, "c1");
    }

    /// Ends what still waits, while what it uses stands.
    void TearDown() override
    {
        platform.loading.fail(Kind::cancelled);
        settle();
    }

    void grant(std::string id, std::string name, std::vector<AgentScope> scopes = {AgentScope::record})
    {
        state.grant({.id = std::move(id),
                     .platformName = std::move(name),
                     .scopes = std::move(scopes),
                     .policy = {},
                     .shareRecordings = {}});
    }

    /// A film on disk.
    FinishedRecording film(std::string name, std::optional<std::string> connectionId = "c1")
    {
        std::filesystem::path const file = folder.path / name;
        writeFile(file, "film " + name);
        return {.file = file,
                .connectionId = std::move(connectionId),
                .platformName = "Acme",
                .durationSec = 12.5};
    }
    /// Puts a film into the queue, as an earlier run left it.
    std::string enqueue(std::string name, std::int64_t attempts = 0, std::string connectionId = "c1")
    {
        std::string const path = film(std::move(name)).file;
        queue.append({.path = path,
                      .connectionId = std::move(connectionId),
                      .durationSec = 12.5,
                      .attempts = attempts});
        return path;
    }
    std::vector<std::string> queued() const
    {
        std::vector<std::string> names;
        for (PendingRecording const& entry : queue.load())
            names.push_back(std::filesystem::path(entry.path).filename().string() + ":" +
                            std::to_string(entry.attempts));
        return names;
    }

    void handle(FinishedRecording finished, bool quitting = false)
    {
        spawn(platform.contexts.agent, [this, finished, quitting]() -> Task<> {
            co_await uploader.handle(finished, quitting);
            ++handled;
        });
        platform.settle();
    }
    void drain()
    {
        spawn(platform.contexts.agent, [this]() -> Task<> {
            co_await uploader.drain();
            ++drained;
        });
        platform.settle();
    }
    void settle() { platform.settle(); }

    void announced(std::string recordingId = "r1")
    {
        platform.loading.answer(200, R"({"recordingId":")" + recordingId +
                                         R"(","uploadUrl":"https://store.test/)" + recordingId + R"("})");
    }
    /// Answers all three steps of one film.
    void accepted(std::string recordingId = "r1")
    {
        announced(std::move(recordingId));
        platform.loading.answer(200, "");
        platform.loading.answer(200, "{}");
    }

    /// The last path components of the calls to the service.
    std::vector<std::string> calls() const
    {
        std::vector<std::string> names;
        for (HttpRequest const& request : platform.loading.requests)
            names.push_back(request.url.substr(request.url.rfind('/') + 1));
        return names;
    }
    json::object bodyOf(std::size_t request) const
    {
        return parseJson(platform.loading.requests.at(request).body)->as_object();
    }
    std::vector<ActivityEntry> lines() const
    {
        std::vector<ActivityEntry> all;
        std::ranges::copy_if(state.activity(), std::back_inserter(all), [](ActivityEntry const& entry) {
            return entry.kind == ActivityKind::recording;
        });
        return all;
    }
    std::string keptLocal(std::string const& reason) const
    {
        return localized("recording.keptLocal", {explain(reason)});
    }
    /// One line says that the film stays here, and why.
    void expectKeptLocal(std::string const& reason)
    {
        ASSERT_THAT(lines(), SizeIs(1));
        EXPECT_EQ(lines()[0].summary, keptLocal(reason));
        EXPECT_EQ(lines()[0].platformName, localized("activity.app"));
        EXPECT_EQ(lines()[0].connectionId, std::nullopt);
        EXPECT_THAT(queued(), IsEmpty());
    }

    FakePlatform platform;
    TemporaryFolder folder;
    Keychain keychain{platform.secretStore};
    RecordingSettings settings{platform.settings};
    RecordingUploadQueue queue{platform.settings};
    AgentState state{{.main = platform.contexts.main,
                      .clock = platform.time,
                      .defaults = platform.settings,
                      .session = platform.sessionEvents,
                      .screen = platform.screenSource,
                      .refreshDisplay = [] {}}};
    std::vector<std::string> asked;
    std::function<Task<bool>()> answerToAsk = []() -> Task<bool> { co_return true; };
    int handled = 0;
    int drained = 0;
    RecordingUploader uploader{{.contexts = platform.contexts,
                                .clock = platform.time,
                                .http = platform.loading,
                                .keychain = keychain,
                                .defaults = platform.settings,
                                .state = state,
                                .httpBase = "https://gateway.test",
                                .appVersion = "1.4",
                                .ask = [this](std::string connectionId) -> Task<bool> {
                                    asked.push_back(std::move(connectionId));
                                    co_return co_await answerToAsk();
                                }}};
};

// What becomes of a film that was just closed.

TEST_F(RecordingUploaderTest, logsEveryFilm)
{
    settings.setMode(RecordingMode::local);
    handle(film("a.mp4"));

    ASSERT_THAT(lines(), SizeIs(1));
    EXPECT_EQ(lines()[0].platformName, "Acme");
    EXPECT_EQ(lines()[0].summary, localized("recording.saved"));
    EXPECT_EQ(lines()[0].connectionId, "c1");
    EXPECT_EQ(handled, 1);
}

TEST_F(RecordingUploaderTest, logsAFilmThatBelongsToNoConnectionAndNoMore)
{
    handle(film("a.mp4", std::nullopt));

    ASSERT_THAT(lines(), SizeIs(1));
    EXPECT_EQ(lines()[0].connectionId, std::nullopt);
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingUploaderTest, keepsAFilmHereUnlessAllThreeLineUp)
{
    settings.setMode(RecordingMode::local);
    handle(film("a.mp4"));
    settings.setMode(RecordingMode::share);
    state.setScopes({AgentScope::screen}, "c1");
    handle(film("b.mp4"));
    state.setScopes({AgentScope::record}, "c1");
    state.setShareRecordings(false, "c1");
    handle(film("c.mp4"));
    handle(film("d.mp4", "unknown"));

    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(handled, 4);
}

TEST_F(RecordingUploaderTest, handsAFilmOverInThreeSteps)
{
    accepted();
    FinishedRecording const finished = film("a.mp4");
    handle(finished);

    EXPECT_EQ(handled, 1);
    EXPECT_THAT(calls(), ElementsAre("recordings", "complete"));
    EXPECT_EQ(platform.loading.requests[0].url, "https://gateway.test/machines/recordings");
    EXPECT_EQ(bodyOf(0), (json::object{{"connectionId", "c1"}, {"durationSec", 12.5}, {"sizeBytes", 10}}));
    EXPECT_EQ(platform.loading.requests[1].url, "https://gateway.test/machines/recordings/complete");
    EXPECT_EQ(bodyOf(1), (json::object{{"recordingId", "r1"}}));
    ASSERT_THAT(platform.loading.uploads, SizeIs(1));
    HttpUpload const& put = platform.loading.uploads[0];
    EXPECT_EQ(put.url, "https://store.test/r1");
    EXPECT_EQ(put.method, "PUT");
    EXPECT_EQ(put.file, finished.file);
    EXPECT_EQ(put.bytes, 10);
    EXPECT_EQ(put.timeout, 600s);
    EXPECT_THAT(put.headers, ElementsAre(Pair("Content-Type", "video/mp4"))) << "and no token";
    EXPECT_THAT(queued(), IsEmpty());
    ASSERT_THAT(lines(), SizeIs(2));
    EXPECT_EQ(lines()[0].summary, localized("recording.uploaded"));
    EXPECT_EQ(lines()[0].platformName, "Acme");
    EXPECT_EQ(lines()[0].connectionId, "c1");
    EXPECT_TRUE(std::filesystem::exists(finished.file)) << "it stays until its time is over";
}

TEST_F(RecordingUploaderTest, asksAnUndecidedConnection)
{
    state.setShareRecordings(std::nullopt, "c1");
    answerToAsk = [this]() -> Task<bool> {
        state.setShareRecordings(true, "c1");
        co_return true;
    };
    accepted();
    handle(film("a.mp4"));

    EXPECT_THAT(asked, ElementsAre("c1"));
    EXPECT_THAT(calls(), ElementsAre("recordings", "complete"));
}

TEST_F(RecordingUploaderTest, keepsTheFilmHereWithoutAYes)
{
    state.setShareRecordings(std::nullopt, "c1");
    answerToAsk = []() -> Task<bool> { co_return false; };
    handle(film("a.mp4"));

    EXPECT_THAT(asked, ElementsAre("c1"));
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(handled, 1);
}

TEST_F(RecordingUploaderTest, goesOnWithOtherFilmsWhileAQuestionStands)
{
    grant("c2", "Bolt");
    WakeList waiting;
    answerToAsk = [&]() -> Task<bool> {
        co_await waiting.wait([] { return false; });
        co_return false;
    };
    handle(film("a.mp4", "c2"));
    EXPECT_EQ(handled, 0);
    accepted();
    handle(film("b.mp4"));

    EXPECT_EQ(handled, 1);
    EXPECT_THAT(calls(), ElementsAre("recordings", "complete"));
    waiting.wakeAll([] {});
    settle();
    EXPECT_EQ(handled, 2);
}

TEST_F(RecordingUploaderTest, queuesWithoutATransferWhileQuitting)
{
    handle(film("a.mp4"), true);

    EXPECT_EQ(handled, 1);
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0"));
    EXPECT_THAT(calls(), IsEmpty());

    accepted(); // The next start.
    drain();
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(calls(), ElementsAre("recordings", "complete"));
}

TEST_F(RecordingUploaderTest, asksNobodyWhileQuitting)
{
    state.setShareRecordings(std::nullopt, "c1");
    handle(film("a.mp4"), true);

    EXPECT_EQ(handled, 1);
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_THAT(queued(), IsEmpty());
    ASSERT_THAT(lines(), SizeIs(1)) << "that it was saved, no more";
}

// Drains.

TEST_F(RecordingUploaderTest, hasNothingToDoWithAnEmptyQueue)
{
    drain();

    EXPECT_EQ(drained, 1);
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingUploaderTest, sendsOneAfterAnotherInOrder)
{
    enqueue("a.mp4");
    enqueue("b.mp4");
    drain();
    EXPECT_THAT(calls(), ElementsAre("recordings"));
    accepted("r1");
    settle();
    EXPECT_THAT(calls(), ElementsAre("recordings", "complete", "recordings"));
    EXPECT_THAT(queued(), ElementsAre("b.mp4:0")) << "what is done is off the stored queue at once";
    accepted("r2");
    settle();

    EXPECT_EQ(drained, 1);
    EXPECT_THAT(platform.loading.uploads[0].file, folder.path / "a.mp4");
    EXPECT_THAT(platform.loading.uploads[1].file, folder.path / "b.mp4");
    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(RecordingUploaderTest, takesAFilmThatComesWhileItDrainsIntoTheSameRun)
{
    enqueue("a.mp4");
    drain();
    handle(film("b.mp4"));
    EXPECT_EQ(handled, 1) << "the run that is under way takes it";
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0", "b.mp4:0"));
    EXPECT_THAT(calls(), ElementsAre("recordings"));

    accepted("r1");
    accepted("r2");
    settle();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(platform.loading.uploads, SizeIs(2));
    EXPECT_EQ(drained, 1);
}

TEST_F(RecordingUploaderTest, keepsWhatFailedBeforeWhatCameMeanwhile)
{
    enqueue("a.mp4");
    drain();
    handle(film("b.mp4"), true); // Queued, with no call for another run.
    platform.loading.answer(500, "");
    settle();

    EXPECT_THAT(queued(), ElementsAre("a.mp4:1", "b.mp4:0"));
    EXPECT_EQ(drained, 1);
}

TEST_F(RecordingUploaderTest, drainsAgainOnceForAllThatCalledMeanwhile)
{
    enqueue("a.mp4");
    drain();
    drain();
    drain();
    EXPECT_EQ(drained, 2);
    platform.loading.answer(500, "");
    platform.loading.answer(500, "");
    settle();

    EXPECT_EQ(drained, 3);
    EXPECT_THAT(queued(), ElementsAre("a.mp4:2"));
    EXPECT_THAT(calls(), SizeIs(2));
}

TEST_F(RecordingUploaderTest, triesFiveTimesOverTheDrains)
{
    enqueue("a.mp4");
    for (int tries = 1; tries <= 4; ++tries) {
        platform.loading.fail(Kind::offline);
        drain();
        EXPECT_THAT(queued(), ElementsAre("a.mp4:" + std::to_string(tries)));
    }
    platform.loading.fail(Kind::offline);
    drain();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(lines(), IsEmpty()) << "in silence";
    EXPECT_THAT(calls(), SizeIs(5));
    EXPECT_TRUE(std::filesystem::exists(folder.path / "a.mp4"));
}

TEST_F(RecordingUploaderTest, copesWithAnyStoredNumberOfTries)
{
    for (std::int64_t const attempts : {INT64_MAX, std::int64_t{5}, std::int64_t{4}}) {
        enqueue("a.mp4", attempts);
        platform.loading.fail(Kind::offline);
        drain();
        EXPECT_THAT(queued(), IsEmpty()) << attempts;
    }
    enqueue("a.mp4", INT64_MIN);
    platform.loading.fail(Kind::offline);
    drain();
    EXPECT_THAT(queue.load()[0].attempts, INT64_MIN + 1);
}

TEST_F(RecordingUploaderTest, costsATryWithoutAMachineToken)
{
    zelvo::run(platform.io, keychain.remove(Keychain::Item::machineToken));
    enqueue("a.mp4");
    drain();

    EXPECT_THAT(queued(), ElementsAre("a.mp4:1"));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingUploaderTest, readsAQueueThatItCannotDecodeAsEmpty)
{
    platform.settings.contents[key] = "[{\"path\":";
    drain();
    EXPECT_THAT(calls(), IsEmpty());
    accepted();
    handle(film("a.mp4"));
    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(RecordingUploaderTest, sendsAFilmThatIsStoredTwiceOnce)
{
    std::string const path = enqueue("a.mp4");
    PendingRecording const entry = queue.load()[0];
    platform.settings.contents[key] = *RecordingUploadQueue::encode({entry, entry});
    accepted();
    drain();

    EXPECT_THAT(platform.loading.uploads, SizeIs(1));
    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(RecordingUploaderTest, keepsTheCountOfAFilmThatTheEndOfTheProcessInterrupted)
{
    enqueue("a.mp4");
    enqueue("b.mp4");
    drain();
    platform.loading.fail(Kind::cancelled);
    settle();
    EXPECT_EQ(drained, 1);
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0", "b.mp4:0"));
    EXPECT_THAT(calls(), SizeIs(1)) << "the next one is not begun";

    announced();
    platform.loading.fail(Kind::cancelled); // In the middle of the film.
    drain();
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0", "b.mp4:0"));

    announced();
    platform.loading.answer(200, "");
    platform.loading.fail(Kind::cancelled); // Before it is complete.
    drain();
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0", "b.mp4:0"));
    EXPECT_EQ(uploader.progress(), std::nullopt);
}

TEST_F(RecordingUploaderTest, goesOnWhenTheOneWhoBeganTheDrainIsCancelled)
{
    enqueue("a.mp4");
    TaskHandle caller = spawn(platform.contexts.agent, [this] { return uploader.drain(); });
    settle();
    caller.cancel();
    settle();
    accepted();
    settle();
    EXPECT_THAT(queued(), IsEmpty());

    enqueue("b.mp4");
    accepted("r2");
    drain();
    EXPECT_THAT(queued(), IsEmpty()) << "a cancelled drain does not stand in the way of the next";
}

TEST_F(RecordingUploaderTest, isOnDiskBeforeAnybodyHearsOfASuccess)
{
    enqueue("a.mp4");
    int writtenAtLog = -1;
    auto const connection = state.changed.connect([&] {
        if (writtenAtLog < 0 && !lines().empty()) {
            writtenAtLog = platform.settings.writtenCalls;
            EXPECT_THAT(queued(), IsEmpty());
        }
    });
    accepted();
    int const before = platform.settings.writtenCalls;
    drain();

    EXPECT_GT(writtenAtLog, before);
}

TEST_F(RecordingUploaderTest, leavesAQueueThatGoesOnWhereverTheProcessIsKilled)
{
    enqueue("a.mp4");
    enqueue("b.mp4", 2);
    drain();
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0", "b.mp4:2")) << "announcing";
    announced();
    settle();
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0", "b.mp4:2")) << "sending";
    platform.loading.answer(200, "");
    settle();
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0", "b.mp4:2")) << "completing";
    platform.loading.answer(200, "");
    settle();
    EXPECT_THAT(queued(), ElementsAre("b.mp4:2")) << "never again";
    announced();
    settle();
    EXPECT_THAT(queued(), ElementsAre("b.mp4:2")) << "an interrupted try does not count";
    platform.loading.answer(500, "");
    settle();
    EXPECT_THAT(queued(), ElementsAre("b.mp4:3"));
}

// Outcomes of the steps.

TEST_F(RecordingUploaderTest, keepsLocalWhatTheServiceRefusesForGood)
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

TEST_F(RecordingUploaderTest, triesAgainAfterAnyOtherAnswerToTheFirstStep)
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

TEST_F(RecordingUploaderTest, triesAgainAfterASuccessWithoutAnAddress)
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

TEST_F(RecordingUploaderTest, triesAgainWhenTheFilmDidNotGetThrough)
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

TEST_F(RecordingUploaderTest, takesAnyAnswerToTheFilmThatIsASuccess)
{
    enqueue("a.mp4");
    announced();
    platform.loading.answer(204, "garbage \xff");
    platform.loading.answer(201, "more garbage");
    drain();

    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(lines()[0].summary, localized("recording.uploaded"));
}

TEST_F(RecordingUploaderTest, goesByTheAnswerToTheLastStep)
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

TEST_F(RecordingUploaderTest, keepsLocalWhatIsNoFilmAnyMore)
{
    std::string const path = enqueue("a.mp4");
    std::filesystem::remove(path); // Its time was over.
    drain();
    expectKeptLocal("file_missing");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingUploaderTest, sendsOnlyFilesThatHoldSomething)
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
    expectMissing("film.mp4");
    expectMissing("");
    expectMissing(film("a.mp4").file.native() + std::string("\0.mp4", 5));
    expectMissing("/" + std::string(100'000, 'x'));
    EXPECT_THAT(lines(), SizeIs(8));
    EXPECT_THAT(calls(), IsEmpty());
}

// A right that was taken away holds.

TEST_F(RecordingUploaderTest, keepsLocalAFilmWhoseConnectionWasRevoked)
{
    enqueue("a.mp4");
    state.revoke("c1");
    drain();

    expectKeptLocal("scope_denied");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingUploaderTest, keepsLocalAFilmWhoseConnectionLostTheScope)
{
    enqueue("a.mp4");
    state.setScopes({AgentScope::screen, AgentScope::input}, "c1");
    drain();

    expectKeptLocal("scope_denied");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingUploaderTest, keepsLocalAFilmThatIsNoLongerShared)
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

TEST_F(RecordingUploaderTest, keepsLocalAllFilmsOnceTheModeIsNotShare)
{
    enqueue("a.mp4");
    settings.setMode(RecordingMode::local);
    drain();

    expectKeptLocal("recording_not_shared");
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingUploaderTest, doesNotSendLaterWhatWasKeptLocal)
{
    enqueue("a.mp4");
    state.setShareRecordings(false, "c1");
    drain();
    state.setShareRecordings(true, "c1");
    drain();

    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingUploaderTest, sendsNoFilmWhenTheRightGoesAfterTheAnnouncement)
{
    enqueue("a.mp4");
    drain();
    state.setShareRecordings(false, "c1");
    announced();
    settle();

    EXPECT_THAT(platform.loading.uploads, IsEmpty());
    expectKeptLocal("recording_not_shared");
}

TEST_F(RecordingUploaderTest, stopsAFilmOnItsWayWhenTheRightGoes)
{
    enqueue("a.mp4");
    enqueue("b.mp4");
    announced();
    drain();
    ASSERT_THAT(platform.loading.uploads, SizeIs(1));
    platform.loading.progress(3);
    platform.time.advance(1s);
    platform.loading.progress(4); // It may still.
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

TEST_F(RecordingUploaderTest, stopsAFilmOnItsWayWhenTheModeChanges)
{
    enqueue("a.mp4");
    announced();
    drain();
    settings.setMode(RecordingMode::off);
    platform.time.advance(1s);
    settings.setMode(RecordingMode::share); // Too late for this one.
    platform.loading.progress(5);
    settle();

    expectKeptLocal("recording_not_shared");
}

TEST_F(RecordingUploaderTest, completesNothingWhenTheRightGoesWithTheLastByte)
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

TEST_F(RecordingUploaderTest, namesAConnectionThatGoesAtTheEndAsAnUnnamedPlatform)
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

TEST_F(RecordingUploaderTest, tellsHowFarAFilmIs)
{
    EXPECT_EQ(uploader.progress(), std::nullopt);
    std::string const path = enqueue("a.mp4");
    announced();
    drain();
    RecordingUploadProgress expected{.path = path, .connectionId = "c1", .sentBytes = 0, .totalBytes = 10};
    EXPECT_EQ(uploader.progress(), expected);
    platform.loading.progress(7);
    expected.sentBytes = 7;
    EXPECT_EQ(uploader.progress(), expected);
    platform.loading.answer(200, "");
    settle();
    EXPECT_EQ(uploader.progress(), std::nullopt);
    HttpUpload const late = platform.loading.uploads[0];
    EXPECT_TRUE(late.onProgress(10));
    EXPECT_EQ(uploader.progress(), std::nullopt) << "a late word changes nothing";
}

TEST_F(RecordingUploaderTest, looksAfterTheRightOnlyWhileAFilmGoesOut)
{
    enqueue("a.mp4");
    announced();
    drain();
    EXPECT_EQ(platform.time.sleeperCount(), 1U);
    platform.loading.answer(200, "");
    settle();
    EXPECT_EQ(platform.time.sleeperCount(), 0U);
}

// Sharing.

TEST_F(RecordingUploaderTest, tellsTheServiceOfSharing)
{
    platform.loading.answer(200, "");
    EXPECT_TRUE(zelvo::run(platform.io, uploader.sendSharing("c1", true)));
    EXPECT_EQ(platform.loading.requests[0].url, "https://gateway.test/machines/recordings/sharing");
    EXPECT_EQ(bodyOf(0), (json::object{{"connectionId", "c1"}, {"shared", true}}));
    platform.loading.answer(200, "[]");
    EXPECT_TRUE(zelvo::run(platform.io, uploader.sendSharing("c1", false)));
    EXPECT_EQ(bodyOf(1), (json::object{{"connectionId", "c1"}, {"shared", false}}));
}

TEST_F(RecordingUploaderTest, countsOnlyAStatusOf200AsAgreement)
{
    for (int const status : {201, 202, 204, 299, 302, 400, 403, 500}) {
        platform.loading.answer(status, "");
        EXPECT_FALSE(zelvo::run(platform.io, uploader.sendSharing("c1", true))) << status;
    }
    for (Kind const kind : {Kind::lost, Kind::cancelled}) {
        platform.loading.fail(kind);
        EXPECT_FALSE(zelvo::run(platform.io, uploader.sendSharing("c1", true)));
    }
    zelvo::run(platform.io, keychain.remove(Keychain::Item::machineToken));
    EXPECT_FALSE(zelvo::run(platform.io, uploader.sendSharing("c1", true)));
}

} // namespace
} // namespace zelvo
