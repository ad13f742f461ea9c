#include "desktop/video/FakeEncoder.h"
#include "desktop/video/VideoFacts.h"
#include "fakes/FakeScreenSource.h"
#include "fakes/FakeScreenStreams.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"
#include "platform/portable/video/LibavVideoFiles.h"
#include "recording/RecordingWriter.h"
#include "unit/system/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;

/// The recorder's frame times, read from the resulting file.
class RecordedVideos : public testing::Test {
protected:
    RecordedVideos() { screen.attached = {{.id = 7, .widthPoints = 320, .heightPoints = 180}}; }

    void begin()
    {
        RecordingStart start;
        start.file = path;
        writer = run(io, RecordingWriter::starter(services)(std::move(start)));
    }
    /// Changes the screen eight times per second for this long.
    void changeFor(Duration length)
    {
        for (Instant const end = clock.now() + length; clock.now() < end;) {
            clock.advance(125ms);
            streams.deliver(clock.now(), ++shade);
            settle(io);
        }
    }
    void pauseFor(Duration length)
    {
        writer->pause(clock.now());
        clock.advance(length);
        writer->resume();
        settle(io);
    }
    std::optional<FinishedRecording> finish() { return run(io, writer->finish()); }

    asio::io_context io;
    ManualClock clock{&io};
    FakeScreenSource screen;
    FakeScreenStreams streams;
    EncoderFaults faults; // of the next video's encoder
    int opened = 0;
    LibavVideoFiles videos{[this](EncoderCandidate const& candidate, VideoSettings const& settings) {
        return withFaults(opened++ ? faults : EncoderFaults())(candidate,
                                                               settings); // The first is the probe's.
    }};
    TemporaryFolder folder;
    fs::path path = folder.path / "video.mp4";
    RecordingWriter::Services services{
        .workers = io.get_executor(), .clock = clock, .screen = screen, .streams = streams, .videos = videos};
    std::shared_ptr<RecordingOutput> writer;
    std::uint8_t shade = 0;
};

TEST_F(RecordedVideos, haveNoGapWhereTheyWerePaused)
{
    begin();
    changeFor(2s);
    pauseFor(40s);
    changeFor(2s);
    pauseFor(20s);
    changeFor(1s);

    auto const finished = finish();

    ASSERT_TRUE(finished);
    EXPECT_EQ(finished->durationSec, 5.0);
    VideoFacts const facts = factsOf(path);
    EXPECT_DOUBLE_EQ(facts.duration, 5.0);
    ASSERT_EQ(facts.packets.size(), 40u);
    for (std::size_t i = 0; i < facts.packets.size(); ++i) {
        EXPECT_NEAR(facts.packets[i].time, double(i) * 0.125, 1e-6);
        EXPECT_NEAR(facts.packets[i].duration, 0.125, 1e-6);
    }
    EXPECT_EQ(decodableFrames(path), 40u);
}

TEST_F(RecordedVideos, areAsLongAsAScreenThatStandsStill)
{
    begin();
    changeFor(125ms);
    clock.advance(20s);

    auto const finished = finish();

    ASSERT_TRUE(finished);
    EXPECT_EQ(finished->durationSec, 20.125);
    EXPECT_DOUBLE_EQ(factsOf(path).duration, 20.125);
    EXPECT_EQ(frameAt(path, 0), frameAt(path, 20));
}

TEST_F(RecordedVideos, areAsLongAsTheySayWhenTheEncoderFailsInTheirMiddle)
{
    faults = {.failsAtCall = 20};
    begin();
    changeFor(3s);

    auto const finished = finish();

    ASSERT_TRUE(finished);
    EXPECT_EQ(finished->durationSec, 1.25);
    EXPECT_DOUBLE_EQ(factsOf(path).duration, 1.25);
    EXPECT_EQ(decodableFrames(path), 10u);
}

TEST_F(RecordedVideos, areAsLongAsTheySayWhenTheScreenGoesAway)
{
    begin();
    changeFor(2s);
    streams.end("the screen is gone");
    clock.advance(30s);

    auto const finished = finish();

    ASSERT_TRUE(finished);
    EXPECT_EQ(finished->durationSec, 2.0);
    EXPECT_DOUBLE_EQ(factsOf(path).duration, 2.0);
}

TEST_F(RecordedVideos, areNoneWithoutAFrame)
{
    begin();
    EXPECT_TRUE(fs::exists(path));

    EXPECT_EQ(finish(), std::nullopt);
    EXPECT_TRUE(fs::is_empty(folder.path));
}

} // namespace
} // namespace zelvo::test
