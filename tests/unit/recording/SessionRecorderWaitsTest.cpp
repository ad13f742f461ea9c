#include "RecorderHarness.h"
#include "fakes/FakeScreenSource.h"
#include "fakes/FakeScreenStreams.h"
#include "fakes/FakeVideoFiles.h"
#include "recording/RecordingWriter.h"

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

/// The recorder while it waits for other parts.
class SessionRecorderWaitsTest : public RecorderHarness {
public:
    std::function<Task<>()> taking(Duration time)
    {
        return [this, time] { return clock.sleep(time); };
    }
};

TEST_F(SessionRecorderWaitsTest, startsAFreshRecordingWhileTheLastOneIsClosed)
{
    act("a");
    recording(0).beforeEnd = taking(5s);
    auto const acted = beginAct("b");

    EXPECT_TRUE(*acted); // Nobody waits for the encoder.
    EXPECT_THAT(recordings, SizeIs(2));
    EXPECT_TRUE(recorder->isRecording());
    EXPECT_THAT(finished, IsEmpty());
    clock.advance(5s);
    EXPECT_THAT(finished, ElementsAre(Pair(recording(0).start.file.filename().string(), false)));
}

TEST_F(SessionRecorderWaitsTest, startsAFreshRecordingWhileTheLastOneIsClosedByTheClock)
{
    act();
    recording(0).beforeEnd = taking(5s);
    clock.advance(70s);
    EXPECT_FALSE(recorder->isRecording());
    act();

    EXPECT_THAT(recordings, SizeIs(2));
    EXPECT_TRUE(recorder->isRecording());
    clock.advance(5s);
    EXPECT_THAT(finished, SizeIs(1));
    EXPECT_TRUE(recorder->isRecording());
}

TEST_F(SessionRecorderWaitsTest, hasAnOpenFileUntilItIsClosed)
{
    act();
    recording().beforeEnd = taking(5s);
    clock.advance(70s);
    EXPECT_TRUE(recorder->hasOpenFile());

    clock.advance(5s);
    EXPECT_FALSE(recorder->hasOpenFile());
}

TEST_F(SessionRecorderWaitsTest, delaysNoActionWhileARecordingIsHandedOn)
{
    handingOn = taking(300s);
    act("a");
    auto const acted = beginAct("b");

    EXPECT_TRUE(*acted);
    EXPECT_THAT(finished, SizeIs(1));
    auto const stopped = begin([this] { return recorder->finishNow(false); });
    EXPECT_FALSE(recorder->hasOpenFile()); // Both are on disk.
    EXPECT_FALSE(*stopped);
    clock.advance(300s);
    EXPECT_TRUE(*stopped);
}

TEST_F(SessionRecorderWaitsTest, startsOneRecordingForTwoActionsAtOnce)
{
    beforeStart = taking(1s);
    auto const first = beginAct();
    auto const second = beginAct();
    EXPECT_FALSE(*first);
    EXPECT_FALSE(*second);

    clock.advance(1s);
    EXPECT_TRUE(*first);
    EXPECT_TRUE(*second);
    EXPECT_THAT(recordings, SizeIs(1));
}

TEST_F(SessionRecorderWaitsTest, startsARecordingEachForTwoConnectionsAtOnce)
{
    beforeStart = taking(500ms);
    beginAct("a");
    beginAct("b");
    clock.advance(1s);

    ASSERT_THAT(recordings, SizeIs(2));
    EXPECT_THAT(recording(0).calls, ElementsAre("finish"));
    EXPECT_EQ(recording(1).start.connectionId, "b");
}

TEST_F(SessionRecorderWaitsTest, hasAnOpenFileAsSoonAsOneIsMade)
{
    beforeStart = taking(1s);
    beginAct();
    EXPECT_TRUE(recorder->hasOpenFile());
    EXPECT_FALSE(recorder->isRecording());

    clock.advance(1s);
    EXPECT_TRUE(recorder->isRecording());
}

TEST_F(SessionRecorderWaitsTest, closesARecordingThatWasStoppedBeforeItBegan)
{
    beforeStart = taking(1s);
    auto const acted = beginAct();
    finish(); // A pause, or recording switched off.
    clock.advance(1s);

    EXPECT_TRUE(*acted);
    EXPECT_THAT(recording().calls, ElementsAre("finish"));
    EXPECT_FALSE(recorder->hasOpenFile());
    EXPECT_THAT(capturing, IsEmpty());
    EXPECT_EQ(sleepers(), 0u);
}

TEST_F(SessionRecorderWaitsTest, startsNothingForAnActionThatAPauseOvertookWhileItWaitedForItsTurn)
{
    beforeStart = taking(1s);
    beginAct("a");
    auto const second = beginAct("b");
    paused = true;
    finish();
    clock.advance(1s);

    EXPECT_TRUE(*second);
    EXPECT_THAT(recordings, SizeIs(1));
    EXPECT_FALSE(recorder->hasOpenFile());
}

TEST_F(SessionRecorderWaitsTest, quitsOnlyWhenARecordingThatIsAboutToBeginIsClosed)
{
    beforeStart = taking(1s);
    beginAct();
    auto const ended = begin([this] { return recorder->finishNow(true); });
    EXPECT_FALSE(*ended);

    clock.advance(1s);
    EXPECT_TRUE(*ended);
    EXPECT_THAT(recording().calls, ElementsAre("finish"));
    EXPECT_THAT(finished, ElementsAre(Pair(testing::_, true)));
}

TEST_F(SessionRecorderWaitsTest, quitsOnlyWhenARecordingThatIsBeingClosedIsClosed)
{
    handingOn = taking(1s);
    act();
    recording().beforeEnd = taking(5s);
    clock.advance(70s);
    auto const ended = begin([this] { return recorder->finishNow(true); });
    clock.advance(5s);
    EXPECT_FALSE(*ended);
    EXPECT_THAT(finished, ElementsAre(Pair(testing::_, true))); // The person is no longer asked.
    EXPECT_TRUE(recorder->hasOpenFile());

    clock.advance(1s);
    EXPECT_TRUE(*ended);
    EXPECT_FALSE(recorder->hasOpenFile());
}

TEST_F(SessionRecorderWaitsTest, saysWhenARecordingIsClosedThoughItIsStillHandedOn)
{
    act();
    AsyncCondition writing;
    bool isWritten = false;
    recording().beforeEnd = [&]() -> Task<> { co_await writing.wait([&] { return isWritten; }); };
    AsyncCondition answer;
    bool isAnswered = false;
    handingOn = [&]() -> Task<> { co_await answer.wait([&] { return isAnswered; }); };
    auto const finished = begin([this] { return recorder->finishNow(false); });
    auto const closed = begin([this] { return recorder->untilClosed(); });
    EXPECT_FALSE(*closed);

    writing.notifyAll([&] { isWritten = true; });
    settle(io);

    EXPECT_TRUE(*closed);
    EXPECT_FALSE(*finished);
    answer.notifyAll([&] { isAnswered = true; });
    settle(io);
    EXPECT_TRUE(*finished);
}

TEST_F(SessionRecorderWaitsTest, isClosedWithoutARecording)
{
    EXPECT_TRUE(*begin([this] { return recorder->untilClosed(); }));
}

TEST_F(SessionRecorderWaitsTest, quitsWithoutWaitingForTheAnswerOfAPerson)
{
    handingOn = taking(300s);
    act("a");
    begin([this] { return recorder->finishNow(false); });
    EXPECT_THAT(finished, SizeIs(1)); // The person is asked.

    EXPECT_TRUE(*begin([this] { return recorder->finishNow(true); }));
}

TEST_F(SessionRecorderWaitsTest, beginsNothingOnceItQuits)
{
    finish(true);
    act();

    EXPECT_THAT(recordings, IsEmpty());
    EXPECT_FALSE(recorder->hasOpenFile());
}

TEST_F(SessionRecorderWaitsTest, holdsAnActionUpNoLongerThanItsPatience)
{
    beforeStart = taking(60s);
    auto const acted = beginAct();
    clock.advance(1999ms);
    EXPECT_FALSE(*acted);

    clock.advance(1ms);
    EXPECT_TRUE(*acted);
    EXPECT_TRUE(*beginAct()); // Further actions do not wait at all.

    clock.advance(58s); // The recording starts after the action.
    EXPECT_TRUE(recorder->isRecording());
    clock.advance(10s);
    EXPECT_FALSE(recorder->isRecording());
    act();
    EXPECT_THAT(recording().calls, ElementsAre("pause", "resume"));
}

TEST_F(SessionRecorderWaitsTest, recordsNoOtherConnectionWhenItBeginsTooLate)
{
    beforeStart = taking(60s);
    beginAct("a");
    clock.advance(30s);
    EXPECT_TRUE(*beginAct("b"));
    clock.advance(30s);

    EXPECT_THAT(recording().calls, ElementsAre("finish"));
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_FALSE(recorder->hasOpenFile());
    beforeStart = {};
    act("b");
    EXPECT_EQ(recording(1).start.connectionId, "b");
    EXPECT_TRUE(recorder->isRecording());
}

TEST_F(SessionRecorderWaitsTest, recordsNoOtherConnectionWhileItsFilterIsLate)
{
    act("a");
    hidden = {"org.keys"};
    recording().beforeFilter = taking(5s);
    beginAct("a");
    clock.advance(3s);
    EXPECT_TRUE(*beginAct("a"));
    EXPECT_TRUE(recorder->isRecording());
    EXPECT_TRUE(*beginAct("b"));
    EXPECT_FALSE(recorder->isRecording());
    EXPECT_THAT(recording().calls, ElementsAre("finish"));

    clock.advance(2s);
    EXPECT_THAT(recordings, SizeIs(1));
    act("b");
    EXPECT_THAT(recordings, SizeIs(2));
}

TEST_F(SessionRecorderWaitsTest, isPatientAgainOnceTheRecordingHasBegun)
{
    beforeStart = taking(3s);
    beginAct("a");
    clock.advance(3s);
    auto const acted = beginAct("b");
    EXPECT_FALSE(*acted);

    clock.advance(2s);
    EXPECT_TRUE(*acted);
}

TEST_F(SessionRecorderWaitsTest, isPatientAgainAfterARecordingThatBeganInTheLastMoment)
{
    beforeStart = taking(2s);
    auto const first = beginAct("a");
    clock.advance(2s);
    EXPECT_TRUE(*first);
    EXPECT_TRUE(recorder->isRecording());
    auto const second = beginAct("b");
    EXPECT_FALSE(*second);

    clock.advance(1s);
    EXPECT_FALSE(*second);
}

TEST_F(SessionRecorderWaitsTest, keepsTheRecordingOfAnActionThatIsCancelled)
{
    beforeStart = taking(1s);
    TaskHandle action = spawn(io.get_executor(), [this] { return recorder->agentActed("c", "Acme"); });
    settle(io);
    action.cancel();
    clock.advance(1s);

    EXPECT_TRUE(recorder->isRecording());
    clock.advance(70s);
    EXPECT_THAT(recording().calls, ElementsAre("pause", "finish"));
}

TEST_F(SessionRecorderWaitsTest, startsAnewWhenTheRecordingEndsWhileItsFilterIsTakenOver)
{
    act();
    clock.advance(69s);
    hidden = {"org.keys"};
    recording().beforeFilter = taking(1500ms);
    auto const acted = beginAct();
    clock.advance(1500ms); // The countdown to the end expires in the meantime.

    EXPECT_TRUE(*acted);
    ASSERT_THAT(recordings, SizeIs(2));
    EXPECT_THAT(recording(0).calls, ElementsAre("pause", "finish"));
    EXPECT_EQ(recording(1).start.excludedBundleIds, (std::set<std::string>{"dev.zelvo.agent", "org.keys"}));
    EXPECT_TRUE(recorder->isRecording());
}

TEST_F(SessionRecorderWaitsTest, goesOnWhenThePauseComesWhileItsFilterIsTakenOver)
{
    act();
    clock.advance(9s);
    hidden = {"org.keys"};
    recording().beforeFilter = taking(1500ms);
    beginAct();
    clock.advance(1500ms);

    EXPECT_THAT(recording().calls, ElementsAre("pause", "resume"));
    EXPECT_TRUE(recorder->isRecording());
}

TEST_F(SessionRecorderWaitsTest, startsNothingWhenItWasStoppedWhileItsFilterIsTakenOver)
{
    act();
    hidden = {"org.keys"};
    recording().beforeFilter = taking(1s);
    beginAct();
    finish();
    clock.advance(1s);

    EXPECT_THAT(recordings, SizeIs(1));
    EXPECT_FALSE(recorder->hasOpenFile());
    EXPECT_EQ(sleepers(), 0u);
}

TEST_F(SessionRecorderWaitsTest, survivesAFailingCallback)
{
    handingOn = []() -> Task<> {
        throw std::runtime_error("no queue");
        co_return;
    };
    act();
    EXPECT_NO_THROW(finish());
    EXPECT_FALSE(recorder->hasOpenFile());
}

/// The recorder with real writers, on a screen and video files in memory.
class RecordingTest : public RecorderHarness {
public:
    RecordingTest()
    {
        SessionRecorder::Services real = services();
        real.startWriter = RecordingWriter::starter({.workers = io.get_executor(),
                                                     .clock = clock,
                                                     .screen = screen,
                                                     .streams = streams,
                                                     .videos = videos});
        real.onFinished = [this](FinishedRecording recording, bool) -> Task<> {
            made.push_back(std::move(recording));
            co_return;
        };
        recorder = SessionRecorder::create(real);
    }
    void change()
    {
        streams.deliver(clock.now());
        settle(io);
    }

    FakeScreenSource screen;
    FakeScreenStreams streams;
    FakeVideoFiles videos;
    std::vector<FinishedRecording> made;
};

TEST_F(RecordingTest, isAsLongAsTheAgentWasWatched)
{
    act();
    change();
    clock.advance(4s);
    act();
    change();
    clock.advance(40s); // Paused after 10 s.
    act();
    change();
    clock.advance(70s);

    ASSERT_THAT(made, SizeIs(1));
    EXPECT_EQ(made[0].durationSec, 14 + 0.125 + 10 + 0.125);
    EXPECT_EQ(made[0].connectionId, "c");
    EXPECT_THAT(streams.last().wanted, ElementsAre(false, true, false));
    EXPECT_EQ(videos.last().end, 24250ms);
}

TEST_F(RecordingTest, isCutAfterHalfAnHourOfRecording)
{
    for (Duration at = 0s; at <= 1800s; at += 5s) {
        act();
        change();
        clock.advance(5s);
    }
    EXPECT_THAT(made, IsEmpty());
    act();

    ASSERT_THAT(made, SizeIs(1));
    EXPECT_EQ(made[0].durationSec, 1805.125);
    EXPECT_TRUE(recorder->isRecording());
}

TEST_F(RecordingTest, leavesNothingOpenWhenTheStreamFails)
{
    streams.openFailure = ScreenFailure{"no such display"};
    act();

    EXPECT_FALSE(recorder->hasOpenFile());
    EXPECT_TRUE(videos.last().cancelled);
    EXPECT_THAT(log, ElementsAre("Zelvo: recording did not start: no such display"));
}

TEST_F(RecordingTest, isKeptWhenTheProcessEnds)
{
    act();
    change();
    clock.advance(3s);
    finish(true);

    ASSERT_THAT(made, SizeIs(1));
    EXPECT_EQ(made[0].durationSec, 3.125);
}

TEST_F(RecordingTest, takesAHiddenApplicationOutInItsMiddle)
{
    act();
    change();
    hidden = {"org.keys"};
    act();

    EXPECT_THAT(streams.last().filters, ElementsAre(std::set<std::string>{"dev.zelvo.agent"},
                                                    std::set<std::string>{"dev.zelvo.agent", "org.keys"}));
}

} // namespace
} // namespace zelvo
