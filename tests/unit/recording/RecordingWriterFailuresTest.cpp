#include "WriterHarness.h"
#include "fakes/ErrorOf.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RecordingWriterFailuresTest : public WriterHarness {};

TEST_F(RecordingWriterFailuresTest, lacksThePermissionWithoutADisplay)
{
    screen.capturable = std::vector<Display>{};

    EXPECT_EQ(errorOf([this] { begin(); }), AgentError::permissionMissing);
    EXPECT_THAT(videos.videos, IsEmpty());
    EXPECT_THAT(streams.opened, IsEmpty());
}

TEST_F(RecordingWriterFailuresTest, doesNotStartWithoutAFile)
{
    videos.createFailure = VideoFailure{"no space left"};

    EXPECT_THROW(begin(), VideoFailure);
    EXPECT_THAT(streams.opened, IsEmpty());
}

TEST_F(RecordingWriterFailuresTest, removesTheFileWhenTheStreamDoesNotStart)
{
    streams.openFailure = ScreenFailure{"gone"};

    EXPECT_THROW(begin(), ScreenFailure);
    EXPECT_TRUE(recording().cancelled);
    EXPECT_TRUE(recording().released);
}

TEST_F(RecordingWriterFailuresTest, keepsWhatCameBeforeAnAppendThatFailed)
{
    begin();
    frameAt(0s);
    frameAt(1s);
    videos.writes = false;
    frameAt(2s);
    videos.writes = true;
    frameAt(3s);

    auto const finished = finishAt(9s);

    EXPECT_THAT(times(), ElementsAre(0s, 1s));
    ASSERT_TRUE(finished);
    EXPECT_EQ(finished->durationSec, 1.125);
}

TEST_F(RecordingWriterFailuresTest, leavesNothingBehindWhenItsFirstAppendFails)
{
    begin();
    videos.writes = false;
    frameAt(0s);
    videos.writes = true;
    frameAt(1s);

    EXPECT_EQ(finishAt(2s), std::nullopt);
    EXPECT_TRUE(recording().cancelled);
}

TEST_F(RecordingWriterFailuresTest, keepsWhatCameBeforeTheStreamStopped)
{
    begin();
    frameAt(0s);
    frameAt(1s);
    streams.end("the display went away");
    frameAt(2s);

    auto const finished = finishAt(30s);

    EXPECT_THAT(times(), ElementsAre(0s, 1s)); // The screen's contents after that are unknown.
    ASSERT_TRUE(finished);
    EXPECT_EQ(finished->durationSec, 1.125);
}

TEST_F(RecordingWriterFailuresTest, staysFailedThroughAPause)
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

TEST_F(RecordingWriterFailuresTest, keepsWhatCameBeforeARepeatThatFailed)
{
    begin();
    frameAt(0s);
    frameAt(1s);
    videos.writes = false;

    EXPECT_EQ(finishAt(6s)->durationSec, 1.125);
}

TEST_F(RecordingWriterFailuresTest, reportsNoRecordingThatCouldNotBeClosed)
{
    begin();
    frameAt(0s);
    videos.closes = false;

    EXPECT_EQ(finishAt(1s), std::nullopt);
    EXPECT_FALSE(recording().cancelled); // The file stays until the retention sweep.
    EXPECT_TRUE(recording().released);
}

TEST_F(RecordingWriterFailuresTest, closesAlsoWhenTheStreamDoesNotStop)
{
    begin();
    frameAt(0s);
    streams.stopFailure = ScreenFailure{"gone"};

    EXPECT_EQ(finishAt(1s)->durationSec, 1.125);
}

TEST_F(RecordingWriterFailuresTest, repeatsThePictureAsBeforeWhenTheNewFilterFails)
{
    begin();
    frameAt(0s, 1);
    streams.updateFailure = ScreenFailure{"gone"};
    goTo(5s);
    run(io, writer->updateFilter({"org.other"}));

    EXPECT_EQ(finishAt(6s)->durationSec, 6.125);
}

TEST_F(RecordingWriterFailuresTest, keepsTheOldFilterWhenTheNewOneFails)
{
    begin();
    streams.updateFailure = ScreenFailure{"gone"};

    EXPECT_NO_THROW(run(io, writer->updateFilter({"org.other"})));
    EXPECT_THAT(streams.last().filters, SizeIs(1));
    frameAt(1s);
    EXPECT_THAT(recording().frames, SizeIs(1));
}
} // namespace
} // namespace zelvo
