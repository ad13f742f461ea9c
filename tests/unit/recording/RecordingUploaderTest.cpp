#include "recording/RecordingUploader.h"

#include "unit/recording/UploaderHarness.h"

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Kind = NetworkFailure::Kind;

constexpr char const* key = "zelvo.recording.pendingUploads";

class RecordingUploaderTest : public UploaderHarness {};

// Recordings that have just been closed.

TEST_F(RecordingUploaderTest, logsEveryRecording)
{
    settings.setMode(RecordingMode::local);
    handle(recording("a.mp4"));

    ASSERT_THAT(lines(), SizeIs(1));
    EXPECT_EQ(lines()[0].platformName, "Acme");
    EXPECT_EQ(lines()[0].summary, localized("recording.saved"));
    EXPECT_EQ(lines()[0].connectionId, "c1");
    EXPECT_EQ(handled, 1);
}

TEST_F(RecordingUploaderTest, logsARecordingThatBelongsToNoConnectionAndNoMore)
{
    handle(recording("a.mp4", std::nullopt));

    ASSERT_THAT(lines(), SizeIs(1));
    EXPECT_EQ(lines()[0].connectionId, std::nullopt);
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(RecordingUploaderTest, keepsARecordingHereUnlessAllThreeLineUp)
{
    settings.setMode(RecordingMode::local);
    handle(recording("a.mp4"));
    settings.setMode(RecordingMode::share);
    state.setScopes({AgentScope::screen}, "c1");
    handle(recording("b.mp4"));
    state.setScopes({AgentScope::record}, "c1");
    state.setShareRecordings(false, "c1");
    handle(recording("c.mp4"));
    handle(recording("d.mp4", "unknown"));

    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(asked, IsEmpty());
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_EQ(handled, 4);
}

TEST_F(RecordingUploaderTest, asksAnUndecidedConnection)
{
    state.setShareRecordings(std::nullopt, "c1");
    answerToAsk = [this]() -> Task<bool> {
        state.setShareRecordings(true, "c1");
        co_return true;
    };
    accepted();
    handle(recording("a.mp4"));

    EXPECT_THAT(asked, ElementsAre("c1"));
    EXPECT_THAT(calls(), ElementsAre("recordings", "complete"));
}

TEST_F(RecordingUploaderTest, keepsTheRecordingHereWithoutAYes)
{
    state.setShareRecordings(std::nullopt, "c1");
    answerToAsk = []() -> Task<bool> { co_return false; };
    handle(recording("a.mp4"));

    EXPECT_THAT(asked, ElementsAre("c1"));
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_EQ(handled, 1);
}

TEST_F(RecordingUploaderTest, continuesWithOtherRecordingsWhileAQuestionIsOpen)
{
    grant("c2", "Bolt");
    AsyncCondition waiting;
    answerToAsk = [&]() -> Task<bool> {
        co_await waiting.wait([] { return false; });
        co_return false;
    };
    handle(recording("a.mp4", "c2"));
    EXPECT_EQ(handled, 0);
    accepted();
    handle(recording("b.mp4"));

    EXPECT_EQ(handled, 1);
    EXPECT_THAT(calls(), ElementsAre("recordings", "complete"));
    waiting.notifyAll([] {});
    settle();
    EXPECT_EQ(handled, 2);
}

TEST_F(RecordingUploaderTest, queuesWithoutATransferWhileQuitting)
{
    handle(recording("a.mp4"), true);

    EXPECT_EQ(handled, 1);
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0"));
    EXPECT_THAT(calls(), IsEmpty());

    accepted(); // The next start.
    drain();
    EXPECT_THAT(queued(), IsEmpty());
    EXPECT_THAT(calls(), ElementsAre("recordings", "complete"));
}

TEST_F(RecordingUploaderTest, asksNoQuestionWhileQuitting)
{
    state.setShareRecordings(std::nullopt, "c1");
    handle(recording("a.mp4"), true);

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

TEST_F(RecordingUploaderTest, takesARecordingThatComesWhileItDrainsIntoTheSameRun)
{
    enqueue("a.mp4");
    drain();
    handle(recording("b.mp4"));
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
    handle(recording("b.mp4"), true); // Queued without another drain.
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
    handle(recording("a.mp4"));
    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(RecordingUploaderTest, sendsARecordingThatIsStoredTwiceOnce)
{
    enqueue("a.mp4");
    PendingRecording const entry = queue.load()[0];
    platform.settings.contents[key] = *RecordingUploadQueue::encode({entry, entry});
    accepted();
    drain();

    EXPECT_THAT(platform.loading.uploads, SizeIs(1));
    EXPECT_THAT(queued(), IsEmpty());
}

TEST_F(RecordingUploaderTest, keepsTheCountOfARecordingThatTheEndOfTheProcessInterrupted)
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
    platform.loading.fail(Kind::cancelled); // During the PUT.
    drain();
    EXPECT_THAT(queued(), ElementsAre("a.mp4:0", "b.mp4:0"));

    announced();
    platform.loading.answer(200, "");
    platform.loading.fail(Kind::cancelled); // Before it is completed.
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

TEST_F(RecordingUploaderTest, leavesAUsableQueueWhereverTheProcessIsKilled)
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

// Sharing.

TEST_F(RecordingUploaderTest, reportsSharingToTheService)
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
