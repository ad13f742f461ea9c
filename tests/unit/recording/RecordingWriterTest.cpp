#include "WriterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RecordingWriterTest : public WriterHarness {};

TEST_F(RecordingWriterTest, recordsTheMainDisplay)
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

TEST_F(RecordingWriterTest, recordsTheFirstDisplayWhereTheMainOneMayNotBeCaptured)
{
    screen.capturable = std::vector<Display>{{.id = 4, .widthPoints = 100, .heightPoints = 50},
                                             {.id = 5, .widthPoints = 20, .heightPoints = 20}};
    begin();

    EXPECT_EQ(streams.last().request.picture.display, 4u);
    EXPECT_EQ(recording().settings.width, 100);
}

TEST_F(RecordingWriterTest, recordsTheFirstDisplayWithoutAMainScreen)
{
    screen.capturable = screen.attached;
    screen.attached.clear();
    begin();

    EXPECT_EQ(streams.last().request.picture.display, 7u);
}

TEST_F(RecordingWriterTest, cutsDisplaySizesTowardZero)
{
    screen.attached = {{.id = 7, .widthPoints = 1513.9, .heightPoints = 983.5, .scaleFactor = 1.25}};
    begin();

    EXPECT_EQ(recording().settings.width, 1512);
    EXPECT_EQ(recording().settings.height, 982);
}

TEST_F(RecordingWriterTest, asksForARecordingByThePlan)
{
    begin();

    VideoSettings const& asked = recording().settings;
    EXPECT_EQ(asked.file, "/recordings/Zelvo x.mp4");
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
    EXPECT_THAT(streams.last().wanted, IsEmpty()); // A new stream delivers at once.
}

TEST_F(RecordingWriterTest, knowsItsConnection)
{
    EXPECT_EQ(begin("c").connectionId(), "c");
    EXPECT_EQ(begin(std::nullopt).connectionId(), std::nullopt);
}

TEST_F(RecordingWriterTest, leavesNothingBehindWithoutAFrame)
{
    begin();

    EXPECT_EQ(finishAt(5s), std::nullopt);
    EXPECT_TRUE(recording().cancelled);
    EXPECT_EQ(recording().end, std::nullopt);
    EXPECT_TRUE(recording().released);
    EXPECT_TRUE(streams.last().ended);
}

TEST_F(RecordingWriterTest, setsWhetherTheStreamsFramesAreWanted)
{
    begin();
    frameAt(0s);
    pauseAt(1s);
    EXPECT_THAT(streams.last().wanted, ElementsAre(false));

    resumeAt(2s);
    EXPECT_THAT(streams.last().wanted, ElementsAre(false, true));
}

TEST_F(RecordingWriterTest, dropsAPictureOfAnotherSize)
{
    begin();
    streams.deliver({.time = Instant{} + 1s}, 10, 100, 100);
    settle(io);
    EXPECT_THAT(recording().frames, IsEmpty());
}

TEST_F(RecordingWriterTest, stopsTheStreamBeforeItCloses)
{
    begin();
    frameAt(0s);
    streams.onStop = [this] { EXPECT_EQ(recording().end, std::nullopt); };

    finishAt(1s);

    EXPECT_TRUE(streams.last().stopped);
    EXPECT_TRUE(streams.last().ended);
    EXPECT_NE(recording().end, std::nullopt);
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

TEST_F(RecordingWriterTest, recordsWhatIsTheMainDisplayByNowWithANewFilter)
{
    begin();
    screen.attached.insert(screen.attached.begin(), {.id = 9, .widthPoints = 800, .heightPoints = 600});
    run(io, writer->updateFilter({"org.other"}));

    EXPECT_EQ(streams.last().request.picture.display, 9u);
    EXPECT_EQ(streams.last().request.picture.width, 1512);
}

TEST_F(RecordingWriterTest, hidesByANewFilterAlsoWithoutADisplay)
{
    begin();
    screen.attached.clear();
    run(io, writer->updateFilter({"org.other"}));

    EXPECT_EQ(streams.last().request.picture.display, 7u);
    EXPECT_EQ(streams.last().filters.back(), std::set<std::string>{"org.other"});
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
    EXPECT_TRUE(recording().released);
}
} // namespace
} // namespace zelvo
