#include "WriterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RecordingWriterTimesTest : public WriterHarness {};

TEST_F(RecordingWriterTimesTest, countsTimesFromTheFirstFrame)
{
    begin();
    frameAt(3s, 10);
    frameAt(3s + 125ms, 20);
    frameAt(5s, 30);

    EXPECT_THAT(recording().frames,
                ElementsAre(FakeVideoFiles::Frame{0s, 10}, FakeVideoFiles::Frame{125ms, 20},
                            FakeVideoFiles::Frame{2s, 30}));
    EXPECT_EQ(recorded(), 2.0);
}

TEST_F(RecordingWriterTimesTest, isOneFrameLongerThanItsLastTime)
{
    begin();
    frameAt(1s);
    frameAt(4s);

    auto const finished = finishAt(4s);

    ASSERT_TRUE(finished);
    EXPECT_EQ(*finished, (FinishedRecording{"/recordings/Zelvo x.mp4", "c", "Acme", 3.125}));
    EXPECT_EQ(recording().end, 3125ms);
    EXPECT_EQ(finished->durationSec, recorded() + 0.125);
    EXPECT_FALSE(recording().cancelled);
}

TEST_F(RecordingWriterTimesTest, hasRecordedNothingWithOneFrame)
{
    begin();
    EXPECT_EQ(recorded(), 0.0);

    frameAt(1s);
    EXPECT_EQ(recorded(), 0.0);
    EXPECT_EQ(finishAt(1s)->durationSec, 0.125);
}

TEST_F(RecordingWriterTimesTest, cutsPausesOut)
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

TEST_F(RecordingWriterTimesTest, isFortySecondsShorterThanTheClockForAPauseOfForty)
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

TEST_F(RecordingWriterTimesTest, takesNoFrameWhilePaused)
{
    begin();
    frameAt(0s);
    pauseAt(1s);
    frameAt(2s, 55);

    EXPECT_THAT(times(), ElementsAre(0s, 1s));
}

TEST_F(RecordingWriterTimesTest, knowsNoPauseBeforeItsFirstFrame)
{
    begin();
    pauseAt(1s);
    resumeAt(5s);
    frameAt(6s);
    EXPECT_THAT(times(), ElementsAre(0s)); // The recording starts at its first frame.

    // The resume is still pending, so this frame counts as the first one after it.
    frameAt(8s);
    frameAt(9s);
    EXPECT_THAT(times(), ElementsAre(0s, 125ms, 1s + 125ms));
}

TEST_F(RecordingWriterTimesTest, dropsAFrameThatIsNotLater)
{
    begin();
    frameAt(1s, 1);
    frameAt(2s, 2);
    streams.deliver(Instant{} + 2s, 3);
    streams.deliver(Instant{} + 1500ms, 4);
    settle(io);

    EXPECT_THAT(recording().frames, ElementsAre(FakeVideoFiles::Frame{0s, 1}, FakeVideoFiles::Frame{1s, 2}));
    frameAt(2s + 1ns, 5);
    EXPECT_THAT(times(), ElementsAre(0s, 1s, 1s + 1ns));
}

TEST_F(RecordingWriterTimesTest, dropsAFrameWhoseAdjustedTimeIsTheLastOne)
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

TEST_F(RecordingWriterTimesTest, beginsWithTheFirstCompleteFrame)
{
    begin();
    frameAt(1s, ScreenFrame::Status::idle, 10);
    frameAt(2s, ScreenFrame::Status::blank, 10);
    frameAt(3s, ScreenFrame::Status::complete, std::nullopt);
    EXPECT_THAT(recording().frames, IsEmpty());

    frameAt(4s);
    frameAt(5s, ScreenFrame::Status::idle, std::nullopt);
    frameAt(6s);
    EXPECT_THAT(times(), ElementsAre(0s, 2s));
}

TEST_F(RecordingWriterTimesTest, shedsFramesWhileTheEncoderIsBehind)
{
    begin();
    frameAt(0s, 1);
    videos.isReady = false;
    frameAt(1s, 2);
    frameAt(2s, 3);
    videos.isReady = true;
    frameAt(3s, 4);

    EXPECT_THAT(recording().frames, ElementsAre(FakeVideoFiles::Frame{0s, 1}, FakeVideoFiles::Frame{3s, 4}));
}

TEST_F(RecordingWriterTimesTest, beginsAtTheFirstFrameEvenWhenThatIsShed)
{
    begin();
    videos.isReady = false;
    frameAt(1s);
    EXPECT_EQ(recorded(), 0.0);
    videos.isReady = true;
    frameAt(3s);

    EXPECT_THAT(times(), ElementsAre(2s));
    EXPECT_EQ(finishAt(3s)->durationSec, 2.125);
}

TEST_F(RecordingWriterTimesTest, keepsTheOffsetOfAFrameThatIsShedAfterAPause)
{
    begin();
    frameAt(0s);
    frameAt(1s);
    pauseAt(1s);
    resumeAt(11s);
    videos.isReady = false;
    frameAt(11s);
    videos.isReady = true;
    frameAt(12s);

    EXPECT_THAT(times(), ElementsAre(0s, 1s, 2s + 125ms));
}

TEST_F(RecordingWriterTimesTest, isAsLongAsAnUnchangedScreenIsShown)
{
    begin();
    frameAt(1s, 77);

    auto const finished = finishAt(21s);

    EXPECT_THAT(recording().frames,
                ElementsAre(FakeVideoFiles::Frame{0s, 77}, FakeVideoFiles::Frame{20s, 77, true}));
    EXPECT_EQ(finished->durationSec, 20.125);
    EXPECT_EQ(recording().end, 20s + 125ms);
}

TEST_F(RecordingWriterTimesTest, showsTheLastPictureUntilAPause)
{
    begin();
    frameAt(0s, 1);
    frameAt(2s, 2);
    pauseAt(10s);
    EXPECT_EQ(recorded(), 10.0);

    resumeAt(40s);
    frameAt(40s, 3);

    EXPECT_THAT(recording().frames,
                ElementsAre(FakeVideoFiles::Frame{0s, 1}, FakeVideoFiles::Frame{2s, 2},
                            FakeVideoFiles::Frame{10s, 2, true}, FakeVideoFiles::Frame{10s + 125ms, 3}));
    EXPECT_EQ(finishAt(45s)->durationSec, 15.25);
}

TEST_F(RecordingWriterTimesTest, stopsAtTheGivenTime)
{
    begin();
    frameAt(0s);
    goTo(8h); // The machine slept before the pause.
    writer->pause(Instant{} + 10s);
    settle(io);

    EXPECT_THAT(times(), ElementsAre(0s, 10s));
}

TEST_F(RecordingWriterTimesTest, addsNoPictureWhereItsLastOneIsAsLate)
{
    begin();
    frameAt(0s);
    frameAt(2s);
    pauseAt(2s);
    EXPECT_THAT(times(), SizeIs(2));

    resumeAt(3s);
    streams.deliver(clock.now() + 1s); // A frame that is later than the pause.
    settle(io);
    writer->pause(clock.now());
    settle(io);
    EXPECT_THAT(times(), SizeIs(3));
}

TEST_F(RecordingWriterTimesTest, addsNoPictureAtItsEndWhilePaused)
{
    begin();
    frameAt(0s);
    pauseAt(5s);

    EXPECT_EQ(finishAt(60s)->durationSec, 5.125);
    EXPECT_THAT(times(), ElementsAre(0s, 5s));
}

TEST_F(RecordingWriterTimesTest, addsNoPictureBetweenAResumeAndTheNextFrame)
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

TEST_F(RecordingWriterTimesTest, addsNoPictureWhileTheEncoderIsBehind)
{
    begin();
    frameAt(0s);
    videos.isReady = false;
    pauseAt(5s);

    EXPECT_EQ(finishAt(6s)->durationSec, 0.125);
}

TEST_F(RecordingWriterTimesTest, showsWhatIsHiddenByNowOnlyUntilThen)
{
    begin();
    frameAt(0s, 1);
    goTo(5s);
    run(io, writer->updateFilter({"org.other"}));

    auto const finished = finishAt(6s);

    EXPECT_THAT(recording().frames,
                ElementsAre(FakeVideoFiles::Frame{0s, 1}, FakeVideoFiles::Frame{5s, 1, true}));
    EXPECT_EQ(finished->durationSec, 5.125);
}

TEST_F(RecordingWriterTimesTest, repeatsThePictureAgainAfterOneWithTheNewFilter)
{
    begin();
    frameAt(0s, 1);
    goTo(5s);
    run(io, writer->updateFilter({"org.other"}));
    frameAt(5s + 125ms, 2);

    auto const finished = finishAt(9s);

    EXPECT_THAT(recording().frames,
                ElementsAre(FakeVideoFiles::Frame{0s, 1}, FakeVideoFiles::Frame{5s, 1, true},
                            FakeVideoFiles::Frame{5s + 125ms, 2}, FakeVideoFiles::Frame{9s, 2, true}));
    EXPECT_EQ(finished->durationSec, 9.125);
}
} // namespace
} // namespace zelvo
