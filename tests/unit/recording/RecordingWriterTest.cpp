#include "recording/RecordingWriter.h"

#include "fakes/ErrorOf.h"
#include "fakes/FakeMovies.h"
#include "fakes/FakeScreenSource.h"
#include "fakes/FakeScreenStreams.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RecordingWriterTest : public testing::Test {
public:
    RecordingWriting& begin(std::optional<std::string> connectionId = "c")
    {
        RecordingStart start;
        start.file = "/films/Zelvo x.mp4";
        start.connectionId = std::move(connectionId);
        start.platformName = "Acme";
        start.excludedBundleIds = {"dev.zelvo.agent", "org.keys"};
        writer = run(io, RecordingWriter::starter(services)(std::move(start)));
        return *writer;
    }

    /// Moves on to a time from the start.
    void goTo(Duration time) { clock.advance(Instant{} + time - clock.now()); }
    /// The screen changes at that time.
    void frameAt(Duration time, std::uint8_t shade = 128)
    {
        goTo(time);
        streams.deliver(clock.now(), shade);
        settle(io);
    }
    void frameAt(Duration time, ScreenFrame::Status status, std::optional<std::uint8_t> shade)
    {
        goTo(time);
        streams.deliver({.status = status, .time = clock.now()}, shade);
        settle(io);
    }
    void pauseAt(Duration time)
    {
        goTo(time);
        writer->pause(clock.now());
        settle(io);
    }
    void resumeAt(Duration time)
    {
        goTo(time);
        writer->resume();
        settle(io);
    }
    std::optional<FinishedRecording> finishAt(Duration time)
    {
        goTo(time);
        return run(io, writer->finish());
    }
    double recorded() { return run(io, writer->recordedSeconds()); }
    FakeMovies::Movie& film() { return movies.last(); }
    std::vector<Duration> times()
    {
        std::vector<Duration> all;
        for (auto const& frame : film().frames)
            all.push_back(frame.time);
        return all;
    }

    asio::io_context io;
    ManualClock clock{&io};
    FakeScreenSource screen;
    FakeScreenStreams streams;
    FakeMovies movies;
    RecordingWriter::Services services{
        .workers = io.get_executor(), .clock = clock, .screen = screen, .streams = streams, .movies = movies};
    std::shared_ptr<RecordingWriting> writer;
};

TEST_F(RecordingWriterTest, filmsTheMainDisplay)
{
    Display const main{.id = 9, .widthPoints = 3008, .heightPoints = 1692, .scaleFactor = 2};
    screen.attached = {main, {.id = 1, .widthPoints = 800, .heightPoints = 600}};
    screen.capturable = std::vector<Display>{{.id = 1, .widthPoints = 800, .heightPoints = 600}, main};
    begin();

    CaptureRequest const& asked = streams.last().request.picture;
    EXPECT_EQ(asked.display, 9u);
    EXPECT_EQ(asked.width, 2560);
    EXPECT_EQ(asked.height, 1440);
}

TEST_F(RecordingWriterTest, filmsTheFirstDisplayWhereTheMainOneMayNotBeCaptured)
{
    screen.capturable = std::vector<Display>{{.id = 4, .widthPoints = 100, .heightPoints = 50},
                                             {.id = 5, .widthPoints = 20, .heightPoints = 20}};
    begin();

    EXPECT_EQ(streams.last().request.picture.display, 4u);
    EXPECT_EQ(film().settings.width, 100);
}

TEST_F(RecordingWriterTest, filmsTheFirstDisplayWhereNoScreenIsTold)
{
    screen.capturable = screen.attached;
    screen.attached.clear();
    begin();

    EXPECT_EQ(streams.last().request.picture.display, 7u);
}

TEST_F(RecordingWriterTest, lacksThePermissionWithoutADisplay)
{
    screen.capturable = std::vector<Display>{};

    EXPECT_EQ(errorOf([this] { begin(); }), AgentError::permissionMissing);
    EXPECT_THAT(movies.movies, IsEmpty());
    EXPECT_THAT(streams.opened, IsEmpty());
}

TEST_F(RecordingWriterTest, cutsDisplaySizesTowardZero)
{
    screen.attached = {{.id = 7, .widthPoints = 1513.9, .heightPoints = 983.5, .scaleFactor = 1.25}};
    begin();

    EXPECT_EQ(film().settings.width, 1512);
    EXPECT_EQ(film().settings.height, 982);
}

TEST_F(RecordingWriterTest, asksForAFilmByThePlan)
{
    begin();

    MovieSettings const& asked = film().settings;
    EXPECT_EQ(asked.file, "/films/Zelvo x.mp4");
    EXPECT_EQ(asked.width, 1512);
    EXPECT_EQ(asked.height, 982);
    EXPECT_EQ(asked.averageBitRate, 1'187'827);
    EXPECT_EQ(asked.expectedFrameRate, 8);
    EXPECT_EQ(asked.maxKeyFrameInterval, 80);
}

TEST_F(RecordingWriterTest, asksForAStreamWithoutTheHiddenApplications)
{
    begin();

    ScreenStreamRequest const& asked = streams.last().request;
    EXPECT_EQ(asked.minimumFrameInterval, 125ms);
    EXPECT_EQ(asked.picture.excluded, (std::set<std::string>{"dev.zelvo.agent", "org.keys"}));
    EXPECT_THAT(streams.last().wanted, IsEmpty()); // It delivers from its beginning on.
}

TEST_F(RecordingWriterTest, doesNotStartWithoutAFile)
{
    movies.createFailure = MovieFailure{"no space left"};

    EXPECT_THROW(begin(), MovieFailure);
    EXPECT_THAT(streams.opened, IsEmpty());
}

TEST_F(RecordingWriterTest, removesTheFileWhenTheStreamDoesNotStart)
{
    streams.openFailure = ScreenFailure{"gone"};

    EXPECT_THROW(begin(), ScreenFailure);
    EXPECT_TRUE(film().cancelled);
    EXPECT_TRUE(film().released);
}

TEST_F(RecordingWriterTest, knowsItsConnection)
{
    EXPECT_EQ(begin("c").connectionId(), "c");
    EXPECT_EQ(begin(std::nullopt).connectionId(), std::nullopt);
}

TEST_F(RecordingWriterTest, countsTimesFromTheFirstFrame)
{
    begin();
    frameAt(3s, 10);
    frameAt(3s + 125ms, 20);
    frameAt(5s, 30);

    EXPECT_THAT(film().frames, ElementsAre(FakeMovies::Frame{0s, 10}, FakeMovies::Frame{125ms, 20},
                                           FakeMovies::Frame{2s, 30}));
    EXPECT_EQ(recorded(), 2.0);
}

TEST_F(RecordingWriterTest, isOneFrameLongerThanItsLastTime)
{
    begin();
    frameAt(1s);
    frameAt(4s);

    auto const finished = finishAt(4s);

    ASSERT_TRUE(finished);
    EXPECT_EQ(*finished, (FinishedRecording{"/films/Zelvo x.mp4", "c", "Acme", 3.125}));
    EXPECT_EQ(film().end, 3125ms);
    EXPECT_EQ(finished->durationSec, recorded() + 0.125);
    EXPECT_FALSE(film().cancelled);
}

TEST_F(RecordingWriterTest, hasRecordedNothingWithOneFrame)
{
    begin();
    EXPECT_EQ(recorded(), 0.0);

    frameAt(1s);
    EXPECT_EQ(recorded(), 0.0);
    EXPECT_EQ(finishAt(1s)->durationSec, 0.125);
}

TEST_F(RecordingWriterTest, leavesNothingBehindWithoutAFrame)
{
    begin();

    EXPECT_EQ(finishAt(5s), std::nullopt);
    EXPECT_TRUE(film().cancelled);
    EXPECT_EQ(film().end, std::nullopt);
    EXPECT_TRUE(film().released);
    EXPECT_TRUE(streams.last().ended);
}

TEST_F(RecordingWriterTest, cutsPausesOut)
{
    begin();
    frameAt(0s);
    frameAt(10s);
    pauseAt(10s);
    resumeAt(50s);
    frameAt(50s);
    frameAt(55s);
    EXPECT_THAT(times(), ElementsAre(0s, 10s, 10s + 125ms, 15s + 125ms));

    pauseAt(55s);
    resumeAt(75s);
    frameAt(76s);
    frameAt(80s);

    EXPECT_THAT(times(), ElementsAre(0s, 10s, 10s + 125ms, 15s + 125ms, 15s + 250ms, 19s + 250ms));
    EXPECT_EQ(finishAt(80s)->durationSec, 19.375);
}

TEST_F(RecordingWriterTest, isFortySecondsShorterThanTheClockForAPauseOfForty)
{
    begin();
    for (Duration at = 0s; at <= 10s; at += 125ms)
        frameAt(at);
    pauseAt(10s);
    resumeAt(50s);
    for (Duration at = 50s + 125ms; at <= 60s; at += 125ms)
        frameAt(at);

    EXPECT_EQ(finishAt(60s)->durationSec, 20.125);
    auto const all = times();
    for (std::size_t i = 1; i < all.size(); ++i)
        EXPECT_EQ(all[i] - all[i - 1], 125ms) << i;
}

TEST_F(RecordingWriterTest, takesNoFrameWhilePaused)
{
    begin();
    frameAt(0s);
    pauseAt(1s);
    frameAt(2s, 55);

    EXPECT_THAT(times(), ElementsAre(0s, 1s));
}

TEST_F(RecordingWriterTest, tellsTheStreamWhetherFramesAreWanted)
{
    begin();
    frameAt(0s);
    pauseAt(1s);
    EXPECT_THAT(streams.last().wanted, ElementsAre(false));

    resumeAt(2s);
    EXPECT_THAT(streams.last().wanted, ElementsAre(false, true));
}

TEST_F(RecordingWriterTest, knowsNoPauseBeforeItsFirstFrame)
{
    begin();
    pauseAt(1s);
    resumeAt(5s);
    frameAt(6s);
    EXPECT_THAT(times(), ElementsAre(0s)); // Nothing was taken out.

    // The resume still stands, so that this frame is the first after it.
    frameAt(8s);
    frameAt(9s);
    EXPECT_THAT(times(), ElementsAre(0s, 125ms, 1s + 125ms));
}

TEST_F(RecordingWriterTest, dropsAFrameThatIsNotLater)
{
    begin();
    frameAt(1s, 1);
    frameAt(2s, 2);
    streams.deliver(Instant{} + 2s, 3);
    streams.deliver(Instant{} + 1500ms, 4);
    settle(io);

    EXPECT_THAT(film().frames, ElementsAre(FakeMovies::Frame{0s, 1}, FakeMovies::Frame{1s, 2}));
    frameAt(2s + 1ns, 5);
    EXPECT_THAT(times(), ElementsAre(0s, 1s, 1s + 1ns));
}

TEST_F(RecordingWriterTest, dropsAFrameWhoseAdjustedTimeIsTheLastOne)
{
    begin();
    frameAt(0s);
    frameAt(1s);
    pauseAt(1s);
    resumeAt(10s);
    frameAt(10s);                        // becomes 1.125 s
    streams.deliver(Instant{} + 10s, 9); // the same again
    settle(io);

    EXPECT_THAT(times(), ElementsAre(0s, 1s, 1s + 125ms));
}

TEST_F(RecordingWriterTest, beginsWithTheFirstCompleteFrame)
{
    begin();
    frameAt(1s, ScreenFrame::Status::idle, 10);
    frameAt(2s, ScreenFrame::Status::blank, 10);
    frameAt(3s, ScreenFrame::Status::complete, std::nullopt);
    EXPECT_THAT(film().frames, IsEmpty());

    frameAt(4s);
    frameAt(5s, ScreenFrame::Status::idle, std::nullopt);
    frameAt(6s);
    EXPECT_THAT(times(), ElementsAre(0s, 2s));
}

TEST_F(RecordingWriterTest, dropsAPictureOfAnotherSize)
{
    begin();
    streams.deliver({.time = Instant{} + 1s}, 10, 100, 100);
    settle(io);
    EXPECT_THAT(film().frames, IsEmpty());
}

TEST_F(RecordingWriterTest, shedsFramesWhileTheEncoderIsBehind)
{
    begin();
    frameAt(0s, 1);
    movies.isReady = false;
    frameAt(1s, 2);
    frameAt(2s, 3);
    movies.isReady = true;
    frameAt(3s, 4);

    EXPECT_THAT(film().frames, ElementsAre(FakeMovies::Frame{0s, 1}, FakeMovies::Frame{3s, 4}));
}

TEST_F(RecordingWriterTest, beginsAtTheFirstFrameEvenWhenThatIsShed)
{
    begin();
    movies.isReady = false;
    frameAt(1s);
    EXPECT_EQ(recorded(), 0.0);
    movies.isReady = true;
    frameAt(3s);

    EXPECT_THAT(times(), ElementsAre(2s));
    EXPECT_EQ(finishAt(3s)->durationSec, 2.125);
}

TEST_F(RecordingWriterTest, keepsTheOffsetOfAFrameThatIsShedAfterAPause)
{
    begin();
    frameAt(0s);
    frameAt(1s);
    pauseAt(1s);
    resumeAt(11s);
    movies.isReady = false;
    frameAt(11s);
    movies.isReady = true;
    frameAt(12s);

    EXPECT_THAT(times(), ElementsAre(0s, 1s, 2s + 125ms));
}

TEST_F(RecordingWriterTest, keepsWhatCameBeforeAnAppendThatFailed)
{
    begin();
    frameAt(0s);
    frameAt(1s);
    movies.writes = false;
    frameAt(2s);
    movies.writes = true;
    frameAt(3s);

    auto const finished = finishAt(9s);

    EXPECT_THAT(times(), ElementsAre(0s, 1s));
    ASSERT_TRUE(finished);
    EXPECT_EQ(finished->durationSec, 1.125);
}

TEST_F(RecordingWriterTest, leavesNothingBehindWhenItsFirstAppendFails)
{
    begin();
    movies.writes = false;
    frameAt(0s);
    movies.writes = true;
    frameAt(1s);

    EXPECT_EQ(finishAt(2s), std::nullopt);
    EXPECT_TRUE(film().cancelled);
}

TEST_F(RecordingWriterTest, keepsWhatCameBeforeTheStreamStopped)
{
    begin();
    frameAt(0s);
    frameAt(1s);
    streams.end("the display went away");
    frameAt(2s);

    auto const finished = finishAt(30s);

    EXPECT_THAT(times(), ElementsAre(0s, 1s)); // What stood on the screen since then nobody knows.
    ASSERT_TRUE(finished);
    EXPECT_EQ(finished->durationSec, 1.125);
}

TEST_F(RecordingWriterTest, staysFailedThroughAPause)
{
    begin();
    frameAt(0s);
    streams.end("the display went away");
    pauseAt(5s);
    resumeAt(6s);
    frameAt(7s);

    EXPECT_THAT(times(), ElementsAre(0s));
    EXPECT_EQ(finishAt(8s)->durationSec, 0.125);
}

TEST_F(RecordingWriterTest, isAsLongAsAScreenThatStandsStill)
{
    begin();
    frameAt(1s, 77);

    auto const finished = finishAt(21s);

    EXPECT_THAT(film().frames, ElementsAre(FakeMovies::Frame{0s, 77}, FakeMovies::Frame{20s, 77, true}));
    EXPECT_EQ(finished->durationSec, 20.125);
    EXPECT_EQ(film().end, 20s + 125ms);
}

TEST_F(RecordingWriterTest, showsTheLastPictureUntilAPause)
{
    begin();
    frameAt(0s, 1);
    frameAt(2s, 2);
    pauseAt(10s);
    EXPECT_EQ(recorded(), 10.0);

    resumeAt(40s);
    frameAt(40s, 3);

    EXPECT_THAT(film().frames,
                ElementsAre(FakeMovies::Frame{0s, 1}, FakeMovies::Frame{2s, 2},
                            FakeMovies::Frame{10s, 2, true}, FakeMovies::Frame{10s + 125ms, 3}));
    EXPECT_EQ(finishAt(45s)->durationSec, 15.25);
}

TEST_F(RecordingWriterTest, stopsAtTheMomentThatItIsTold)
{
    begin();
    frameAt(0s);
    goTo(8h); // The machine slept before the pause could be made.
    writer->pause(Instant{} + 10s);
    settle(io);

    EXPECT_THAT(times(), ElementsAre(0s, 10s));
}

TEST_F(RecordingWriterTest, addsNoPictureWhereItsLastOneIsAsLate)
{
    begin();
    frameAt(0s);
    frameAt(2s);
    pauseAt(2s);
    EXPECT_THAT(times(), SizeIs(2));

    resumeAt(3s);
    streams.deliver(clock.now() + 1s); // Taken a moment after the order to end.
    settle(io);
    writer->pause(clock.now());
    settle(io);
    EXPECT_THAT(times(), SizeIs(3));
}

TEST_F(RecordingWriterTest, addsNoPictureAtItsEndWhilePaused)
{
    begin();
    frameAt(0s);
    pauseAt(5s);

    EXPECT_EQ(finishAt(60s)->durationSec, 5.125);
    EXPECT_THAT(times(), ElementsAre(0s, 5s));
}

TEST_F(RecordingWriterTest, addsNoPictureBetweenAResumeAndTheNextFrame)
{
    begin();
    frameAt(0s);
    pauseAt(5s);
    resumeAt(30s);
    pauseAt(31s);
    resumeAt(40s);

    EXPECT_EQ(finishAt(41s)->durationSec, 5.125);
    EXPECT_THAT(times(), ElementsAre(0s, 5s));
}

TEST_F(RecordingWriterTest, addsNoPictureWhileTheEncoderIsBehind)
{
    begin();
    frameAt(0s);
    movies.isReady = false;
    pauseAt(5s);

    EXPECT_EQ(finishAt(6s)->durationSec, 0.125);
}

TEST_F(RecordingWriterTest, keepsWhatCameBeforeARepeatThatFailed)
{
    begin();
    frameAt(0s);
    frameAt(1s);
    movies.writes = false;

    EXPECT_EQ(finishAt(6s)->durationSec, 1.125);
}

TEST_F(RecordingWriterTest, tellsNobodyOfAFileThatCouldNotBeClosed)
{
    begin();
    frameAt(0s);
    movies.closes = false;

    EXPECT_EQ(finishAt(1s), std::nullopt);
    EXPECT_FALSE(film().cancelled); // It stays for the sweep.
    EXPECT_TRUE(film().released);
}

TEST_F(RecordingWriterTest, stopsTheStreamBeforeItCloses)
{
    begin();
    frameAt(0s);
    streams.onStop = [this] { EXPECT_EQ(film().end, std::nullopt); };

    finishAt(1s);

    EXPECT_TRUE(streams.last().stopped);
    EXPECT_TRUE(streams.last().ended);
    EXPECT_NE(film().end, std::nullopt);
}

TEST_F(RecordingWriterTest, closesAlsoWhenTheStreamDoesNotStop)
{
    begin();
    frameAt(0s);
    streams.stopFailure = ScreenFailure{"gone"};

    EXPECT_EQ(finishAt(1s)->durationSec, 1.125);
}

TEST_F(RecordingWriterTest, isFinishedOnce)
{
    begin();
    frameAt(0s);
    EXPECT_TRUE(finishAt(1s));

    frameAt(2s);
    pauseAt(3s);
    resumeAt(4s);

    EXPECT_EQ(finishAt(5s), std::nullopt);
    EXPECT_THAT(times(), ElementsAre(0s, 1s));
}

TEST_F(RecordingWriterTest, handsItsFilterOn)
{
    begin();
    run(io, writer->updateFilter({"dev.zelvo.agent", "org.other"}));

    EXPECT_THAT(streams.last().filters, ElementsAre(std::set<std::string>{"dev.zelvo.agent", "org.keys"},
                                                    std::set<std::string>{"dev.zelvo.agent", "org.other"}));
}

TEST_F(RecordingWriterTest, filmsWhatIsTheMainDisplayByNowWithANewFilter)
{
    begin();
    screen.attached.insert(screen.attached.begin(), {.id = 9, .widthPoints = 800, .heightPoints = 600});
    run(io, writer->updateFilter({"org.other"}));

    EXPECT_EQ(streams.last().request.picture.display, 9u);
    EXPECT_EQ(streams.last().request.picture.width, 1512);
}

TEST_F(RecordingWriterTest, hidesByANewFilterAlsoWhereNoDisplayIsTold)
{
    begin();
    screen.attached.clear();
    run(io, writer->updateFilter({"org.other"}));

    EXPECT_EQ(streams.last().request.picture.display, 7u);
    EXPECT_EQ(streams.last().filters.back(), std::set<std::string>{"org.other"});
}

TEST_F(RecordingWriterTest, showsWhatIsHiddenByNowOnlyUntilThen)
{
    begin();
    frameAt(0s, 1);
    goTo(5s);
    run(io, writer->updateFilter({"org.other"}));

    auto const finished = finishAt(6s);

    EXPECT_THAT(film().frames, ElementsAre(FakeMovies::Frame{0s, 1}, FakeMovies::Frame{5s, 1, true}));
    EXPECT_EQ(finished->durationSec, 5.125);
}

TEST_F(RecordingWriterTest, standsStillAgainOnceThereIsAPictureByTheNewFilter)
{
    begin();
    frameAt(0s, 1);
    goTo(5s);
    run(io, writer->updateFilter({"org.other"}));
    frameAt(5s + 125ms, 2);

    auto const finished = finishAt(9s);

    EXPECT_THAT(film().frames, ElementsAre(FakeMovies::Frame{0s, 1}, FakeMovies::Frame{5s, 1, true},
                                           FakeMovies::Frame{5s + 125ms, 2}, FakeMovies::Frame{9s, 2, true}));
    EXPECT_EQ(finished->durationSec, 9.125);
}

TEST_F(RecordingWriterTest, standsStillAsBeforeWhenTheNewFilterFails)
{
    begin();
    frameAt(0s, 1);
    streams.updateFailure = ScreenFailure{"gone"};
    goTo(5s);
    run(io, writer->updateFilter({"org.other"}));

    EXPECT_EQ(finishAt(6s)->durationSec, 6.125);
}

TEST_F(RecordingWriterTest, keepsTheOldFilterWhenTheNewOneFails)
{
    begin();
    streams.updateFailure = ScreenFailure{"gone"};

    EXPECT_NO_THROW(run(io, writer->updateFilter({"org.other"})));
    EXPECT_THAT(streams.last().filters, SizeIs(1));
    frameAt(1s);
    EXPECT_THAT(film().frames, SizeIs(1));
}

TEST_F(RecordingWriterTest, hasNoFilterOnceItIsFinished)
{
    begin();
    finishAt(1s);

    EXPECT_NO_THROW(run(io, writer->updateFilter({"org.other"})));
    EXPECT_THAT(streams.last().filters, SizeIs(1));
}

TEST_F(RecordingWriterTest, isFinishedWhileAFilterIsTakenOver)
{
    begin();
    frameAt(0s);
    streams.beforeUpdate = [this] { return clock.sleep(5s); };
    spawn(io.get_executor(), [this] { return writer->updateFilter({"org.other"}); });
    settle(io);

    EXPECT_TRUE(finishAt(1s));
    EXPECT_FALSE(streams.last().ended); // It is still in use.
    goTo(10s);
    EXPECT_TRUE(streams.last().ended);
}

TEST_F(RecordingWriterTest, endsWithItsOwner)
{
    begin();
    frameAt(0s);
    writer.reset();
    frameAt(1s);

    EXPECT_TRUE(streams.last().ended);
    EXPECT_TRUE(film().released);
}

} // namespace
} // namespace zelvo
