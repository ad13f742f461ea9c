#include "RecorderHarness.h"
#include "platform/ScreenSource.h"
#include "platform/VideoFile.h"
#include "recording/RecordingPlan.h"
#include "wire/AgentError.h"

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

/// The states of a recorder.
enum class Standing { idle, recording, paused };

class SessionRecorderTest : public RecorderHarness {
public:
    Standing standing() const
    {
        if (recorder->isRecording())
            return Standing::recording;
        return recorder->hasOpenFile() ? Standing::paused : Standing::idle;
    }
};

TEST_F(SessionRecorderTest, beginsIdle)
{
    EXPECT_EQ(standing(), Standing::idle);
    EXPECT_THAT(capturing, IsEmpty());
}

TEST_F(SessionRecorderTest, doesNothingAtAllWhenOff)
{
    settings.setMode(RecordingMode::off);
    act();

    EXPECT_EQ(standing(), Standing::idle);
    EXPECT_THAT(recordings, IsEmpty());
    EXPECT_THAT(folders.made, IsEmpty());
    EXPECT_EQ(sleepers(), 0u);
}

TEST_F(SessionRecorderTest, leavesAnOpenRecordingAloneWhenOff)
{
    act();
    settings.setMode(RecordingMode::off);
    clock.advance(5s);
    act("other");

    EXPECT_THAT(recordings, SizeIs(1));
    EXPECT_THAT(recording().calls, IsEmpty());
    clock.advance(5s);
    EXPECT_THAT(recording().calls, ElementsAre("pause")); // The action had no effect.
}

TEST_F(SessionRecorderTest, recordsInBothModesThatAreOn)
{
    act();
    finish();
    settings.setMode(RecordingMode::share);
    act();

    EXPECT_THAT(recordings, SizeIs(2));
}

TEST_F(SessionRecorderTest, doesNothingWithoutAccessToTheScreen)
{
    access.granted.screenRecording = false;
    act();

    EXPECT_EQ(standing(), Standing::idle);
    EXPECT_THAT(recordings, IsEmpty());
    EXPECT_EQ(sleepers(), 0u);
}

TEST_F(SessionRecorderTest, doesNotTouchAnOpenRecordingWithoutAccessToTheScreen)
{
    act();
    recording().seconds = 1800;
    access.granted.screenRecording = false;
    act("other");

    EXPECT_THAT(recordings, SizeIs(1));
    EXPECT_THAT(recording().calls, IsEmpty());
    EXPECT_EQ(standing(), Standing::recording);
}

TEST_F(SessionRecorderTest, doesNothingForAnActionThatAPauseOvertook)
{
    paused = true;
    finish();
    act();

    EXPECT_EQ(standing(), Standing::idle);
    EXPECT_THAT(recordings, IsEmpty());
    EXPECT_EQ(sleepers(), 0u);
}

TEST_F(SessionRecorderTest, startsARecordingAtAnAction)
{
    act("c", "Acme: bot");

    EXPECT_EQ(standing(), Standing::recording);
    EXPECT_THAT(capturing, ElementsAre(true));
    RecordingStart const& start = recording().start;
    EXPECT_EQ(start.file, "/home/me/Videos/Zelvo/" + RecordingPlan::fileName(clock.date(), "Acme: bot"));
    EXPECT_EQ(start.connectionId, "c");
    EXPECT_EQ(start.platformName, "Acme: bot");
    EXPECT_TRUE(folders.made.contains("/home/me/Videos/Zelvo"));
}

TEST_F(SessionRecorderTest, startsNothingAtALook)
{
    look();

    EXPECT_THAT(recordings, IsEmpty());
    EXPECT_EQ(sleepers(), 0u);
}

TEST_F(SessionRecorderTest, pausesAfterTenSecondsWithoutActivity)
{
    act();
    clock.advance(9999ms);
    EXPECT_EQ(standing(), Standing::recording);

    clock.advance(1ms);
    EXPECT_EQ(standing(), Standing::paused);
    EXPECT_THAT(recording().calls, ElementsAre("pause"));
    EXPECT_THAT(capturing, ElementsAre(true, false));
}

TEST_F(SessionRecorderTest, movesThePauseOnWithEachAction)
{
    act();
    clock.advance(9900ms);
    act();
    clock.advance(9900ms);
    EXPECT_EQ(standing(), Standing::recording);

    clock.advance(100ms);
    EXPECT_EQ(standing(), Standing::paused);
    EXPECT_THAT(recordings, SizeIs(1));
}

TEST_F(SessionRecorderTest, movesThePauseOnWithEachLook)
{
    act();
    for (int i = 0; i < 10; ++i) {
        clock.advance(9900ms);
        look();
    }
    EXPECT_EQ(standing(), Standing::recording);

    clock.advance(10s);
    EXPECT_EQ(standing(), Standing::paused);
}

TEST_F(SessionRecorderTest, isNotWokenByALook)
{
    act();
    clock.advance(10s);
    clock.advance(59s);
    look();

    EXPECT_EQ(standing(), Standing::paused);
    EXPECT_THAT(recording().calls, ElementsAre("pause"));
    clock.advance(1s); // The countdown continues.
    EXPECT_EQ(standing(), Standing::idle);
}

TEST_F(SessionRecorderTest, goesOnInTheSameFileAtAnAction)
{
    act();
    clock.advance(40s);
    EXPECT_EQ(standing(), Standing::paused);
    act();

    EXPECT_EQ(standing(), Standing::recording);
    EXPECT_THAT(recording().calls, ElementsAre("pause", "resume"));
    EXPECT_THAT(capturing, ElementsAre(true, false, true));
    for (int i = 0; i < 5; ++i) { // The pending end was cancelled.
        clock.advance(9s);
        act();
    }
    EXPECT_EQ(standing(), Standing::recording);
    EXPECT_THAT(recordings, SizeIs(1));
}

TEST_F(SessionRecorderTest, endsTheRecordingAMinuteAfterThePause)
{
    act();
    clock.advance(69999ms);
    EXPECT_EQ(standing(), Standing::paused);
    EXPECT_THAT(finished, IsEmpty());

    clock.advance(1ms);
    EXPECT_EQ(standing(), Standing::idle);
    EXPECT_THAT(recording().calls, ElementsAre("pause", "finish"));
    EXPECT_THAT(finished, ElementsAre(Pair(recording().start.file.filename().string(), false)));
    EXPECT_THAT(capturing, ElementsAre(true, false));
    EXPECT_EQ(sleepers(), 0u);
}

TEST_F(SessionRecorderTest, startsAnewAfterTheEnd)
{
    act();
    clock.advance(70s);
    act();

    EXPECT_THAT(recordings, SizeIs(2));
    EXPECT_EQ(standing(), Standing::recording);
}

TEST_F(SessionRecorderTest, mixesNoTwoConnections)
{
    act("a");
    act("b");
    EXPECT_THAT(recordings, SizeIs(2));
    EXPECT_THAT(recording(0).calls, ElementsAre("finish"));
    EXPECT_EQ(recording(1).start.connectionId, "b");
    EXPECT_THAT(finished, ElementsAre(Pair(recording(0).start.file.filename().string(), false)));

    act("a");
    EXPECT_THAT(recordings, SizeIs(3));
    EXPECT_THAT(recording(1).calls, ElementsAre("finish"));
    EXPECT_EQ(standing(), Standing::recording);
    EXPECT_THAT(capturing, ElementsAre(true, false, true, false, true));
}

TEST_F(SessionRecorderTest, takesNoConnectionForAConnectionToo)
{
    act("a");
    act(std::nullopt);
    act(std::nullopt);
    act("a");

    ASSERT_THAT(recordings, SizeIs(3));
    EXPECT_EQ(recording(1).start.connectionId, std::nullopt);
}

TEST_F(SessionRecorderTest, mixesNoTwoConnectionsWhilePausedEither)
{
    act("a");
    clock.advance(20s);
    act("b");

    EXPECT_THAT(recording(0).calls, ElementsAre("pause", "finish"));
    EXPECT_THAT(recordings, SizeIs(2));
}

TEST_F(SessionRecorderTest, cutsALongSession)
{
    act();
    recording().seconds = 1799.999;
    act();
    EXPECT_THAT(recordings, SizeIs(1));

    recording().seconds = 1800.0;
    act();
    EXPECT_THAT(recordings, SizeIs(2));
    EXPECT_THAT(recording(0).calls, ElementsAre("finish"));
    EXPECT_EQ(recording(1).start.connectionId, "c");
    EXPECT_EQ(standing(), Standing::recording);
}

TEST_F(SessionRecorderTest, cutsALongSessionAtNoLook)
{
    act();
    recording().seconds = 5000;
    look();

    EXPECT_THAT(recording().calls, IsEmpty());
}

TEST_F(SessionRecorderTest, finishNowEndsARunningRecording)
{
    act();
    finish();

    EXPECT_EQ(standing(), Standing::idle);
    EXPECT_THAT(recording().calls, ElementsAre("finish"));
    EXPECT_THAT(finished, ElementsAre(Pair(testing::_, false)));
    EXPECT_EQ(sleepers(), 0u);
    clock.advance(100s);
    EXPECT_THAT(recording().calls, ElementsAre("finish"));
}

TEST_F(SessionRecorderTest, finishNowEndsAPausedRecording)
{
    act();
    clock.advance(10s);
    finish(true);

    EXPECT_EQ(standing(), Standing::idle);
    EXPECT_THAT(finished, ElementsAre(Pair(testing::_, true)));
    EXPECT_EQ(sleepers(), 0u);
}

TEST_F(SessionRecorderTest, callsNoHandlerWithNothingOpen)
{
    finish();
    finish(true);

    EXPECT_THAT(finished, IsEmpty());
    EXPECT_THAT(capturing, IsEmpty());
}

TEST_F(SessionRecorderTest, callsNoHandlerWithoutAFile)
{
    act();
    recording().givesFile = false;
    finish();

    EXPECT_EQ(standing(), Standing::idle);
    EXPECT_THAT(finished, IsEmpty());
}

TEST_F(SessionRecorderTest, needsNoHandlers)
{
    SessionRecorder::Services alone = services();
    alone.hiddenBundleIds = {};
    alone.isPaused = {};
    alone.onFinished = {};
    alone.onCapturingChanged = {};
    alone.log = {};
    recorder = SessionRecorder::create(alone);
    act();
    finish();
    folders.makeFailure = EROFS;
    act();

    EXPECT_EQ(recording().start.excludedBundleIds, std::set<std::string>{"dev.zelvo.agent"});
    EXPECT_EQ(standing(), Standing::idle);
}

TEST_F(SessionRecorderTest, leavesOutItselfAndTheHiddenApplications)
{
    hidden = {"org.keys", "org.mail"};
    act();

    EXPECT_EQ(recording().start.excludedBundleIds,
              (std::set<std::string>{"dev.zelvo.agent", "org.keys", "org.mail"}));
}

TEST_F(SessionRecorderTest, takesAnApplicationOutAtTheNextAction)
{
    act();
    hidden = {"org.keys"};
    look();
    clock.advance(1s);
    EXPECT_THAT(recording().filters, IsEmpty());

    act();
    EXPECT_THAT(recording().filters, ElementsAre(std::set<std::string>{"dev.zelvo.agent", "org.keys"}));

    act();
    EXPECT_THAT(recording().filters, SizeIs(1));
    hidden.clear();
    act();
    EXPECT_THAT(recording().filters, SizeIs(2));
}

TEST_F(SessionRecorderTest, takesAnApplicationOutBeforeThePictureComesBack)
{
    act();
    clock.advance(10s);
    hidden = {"org.keys"};
    std::size_t callsBefore = 0;
    recording().beforeFilter = [&]() -> Task<> {
        callsBefore = recording().calls.size();
        co_return;
    };
    act();

    EXPECT_EQ(callsBefore, 1u); // "pause" alone
    EXPECT_THAT(recording().calls, ElementsAre("pause", "resume"));
}

TEST_F(SessionRecorderTest, saysWhyARecordingDidNotStart)
{
    std::vector<std::function<void()>> const failures = {
        [] { throw AgentError::permissionMissing; }, [] { throw ScreenFailure{"no such display"}; },
        [] { throw VideoFailure{"no encoder"}; }, [] { throw std::runtime_error("odd"); }, [] { throw 7; }};
    for (auto const& failure : failures) {
        beforeStart = [&]() -> Task<> {
            failure();
            co_return;
        };
        act();
        EXPECT_EQ(standing(), Standing::idle);
    }

    std::string const start = "Zelvo: recording did not start: ";
    EXPECT_THAT(log, ElementsAre(start + std::string(defaultMessage(AgentError::permissionMissing)),
                                 start + "no such display", start + "no encoder", start + "odd",
                                 start + "unknown failure"));
    EXPECT_THAT(capturing, IsEmpty());
    EXPECT_EQ(sleepers(), 0u);
}

TEST_F(SessionRecorderTest, saysWhyTheFolderCouldNotBeMade)
{
    folders.makeFailure = EROFS;
    act();

    EXPECT_THAT(log, ElementsAre("Zelvo: recording did not start: Read-only file system"));
    EXPECT_THAT(recordings, IsEmpty());
    EXPECT_EQ(standing(), Standing::idle);
}

TEST_F(SessionRecorderTest, triesAgainAtALaterAction)
{
    folders.makeFailure = ENOSPC;
    act();
    folders.makeFailure = 0;
    act();

    EXPECT_EQ(standing(), Standing::recording);
}

TEST_F(SessionRecorderTest, survivesAListOfHiddenApplicationsThatFails)
{
    SessionRecorder::Services failing = services();
    failing.hiddenBundleIds = []() -> Task<std::set<std::string>> {
        throw std::runtime_error("no list");
        co_return std::set<std::string>{};
    };
    recorder = SessionRecorder::create(failing);
    EXPECT_NO_THROW(act());

    EXPECT_EQ(standing(), Standing::idle);
    EXPECT_THAT(recordings, IsEmpty()); // It might show hidden applications.
}

TEST_F(SessionRecorderTest, overwritesNoRecordingOfTheSameSecond)
{
    act("a", "Acme");
    act("b", "Acme");
    act("a", "Acme");

    std::string const first = recording(0).start.file.filename().string();
    EXPECT_EQ(recording(1).start.file.filename().string(), RecordingPlan::numbered(first, 2));
    EXPECT_EQ(recording(2).start.file.filename().string(), RecordingPlan::numbered(first, 3));
}

TEST_F(SessionRecorderTest, stopsRecordingWhereTheCountdownRanOut)
{
    act();
    clock.jump(8h); // The machine slept.
    clock.advance(0s);

    EXPECT_THAT(recording().pausedAt, ElementsAre(Instant{} + 10s));
}

TEST_F(SessionRecorderTest, pausesWhereTheCountdownExpiredBeforeItResumes)
{
    act();
    clock.jump(8h);
    act(); // Runs before the expired countdown.

    EXPECT_THAT(recording().calls, ElementsAre("pause", "resume"));
    EXPECT_THAT(recording().pausedAt, ElementsAre(Instant{} + 10s));
    EXPECT_EQ(standing(), Standing::recording);
    clock.advance(9s);
    EXPECT_EQ(standing(), Standing::recording);
}

TEST_F(SessionRecorderTest, stopsRecordingWhereTheCountdownRanOutBeforeItEnds)
{
    act();
    clock.jump(8h);
    finish();

    EXPECT_THAT(recording().calls, ElementsAre("pause", "finish"));
    EXPECT_THAT(recording().pausedAt, ElementsAre(Instant{} + 10s));
}

TEST_F(SessionRecorderTest, isNotKeptAwakeByALookThatComesTooLate)
{
    act();
    clock.jump(10s);
    look();

    EXPECT_EQ(standing(), Standing::paused);
}

TEST_F(SessionRecorderTest, isNoFurtherThanItsCountdowns)
{
    act();
    recorder.reset();

    EXPECT_NO_FATAL_FAILURE(clock.advance(100s));
    EXPECT_THAT(recording().calls, IsEmpty());
}

} // namespace
} // namespace zelvo
