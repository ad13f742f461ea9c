#include "app/AgentRecording.h"

#include "app/Termination.h"
#include "base/LocalizedTexts.h"
#include "unit/app/RuntimeFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace zelvo {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

class AgentRecordingTest : public RuntimeFixture {
protected:
    /// An agent acts, and its recording has a first picture.
    void recording()
    {
        std::size_t const before = platform.streams.opened.size();
        run(platform.io, parts.recording.recorder().agentActed("c", "Acme"));
        ASSERT_THAT(platform.streams.opened, SizeIs(before + 1));
        platform.streams.deliver(platform.time.now());
        platform.settle();
    }
    std::vector<std::string> logged() const
    {
        std::vector<std::string> lines;
        for (ActivityEntry const& entry : parts.state.activity())
            lines.push_back(entry.summary);
        return lines;
    }
    bool isOpen() { return parts.recording.recorder().hasOpenFile(); }
    /// Its connection was never granted: that sending it was tried is what the log tells.
    void leaveToBeSent()
    {
        RecordingUploadQueue(platform.settings)
            .append({.path = "/gone.mp4", .connectionId = "c", .durationSec = 1});
    }
    std::ptrdiff_t triesToSend() const
    {
        return std::ranges::count(logged(),
                                  localized("recording.keptLocal", {localized("recording.reason.noScope")}));
    }
};

TEST_F(AgentRecordingTest, recordsNothingUnlessThePersonWantsIt)
{
    start();
    run(platform.io, parts.recording.recorder().agentActed("c", "Acme"));
    EXPECT_THAT(platform.recordings.videos, IsEmpty());
}

TEST_F(AgentRecordingTest, recordsAnActionAndShowsThat)
{
    parts.recording.state().setMode(RecordingMode::local);
    start();
    recording();
    EXPECT_TRUE(isOpen());
    EXPECT_TRUE(parts.recording.state().isRecording());
    EXPECT_THAT(platform.streams.last().request.picture.excluded, Contains("dev.zelvo.agent"));
}

TEST_F(AgentRecordingTest, pausingTheAgentEndsTheRecordingAndResumingStartsNone)
{
    parts.recording.state().setMode(RecordingMode::local);
    start();
    recording();
    parts.state.setPaused(true);
    platform.settle();
    EXPECT_FALSE(isOpen());
    EXPECT_TRUE(platform.recordings.last().end);
    EXPECT_THAT(logged(), Contains(localized("recording.saved")));
    parts.state.setPaused(false);
    platform.settle();
    EXPECT_FALSE(isOpen());
    EXPECT_FALSE(parts.recording.state().isRecording());
    recording(); // It was not the end for good.
}

TEST_F(AgentRecordingTest, anActionThatThePauseOvertookIsNotRecorded)
{
    parts.recording.state().setMode(RecordingMode::local);
    start();
    parts.state.setPaused(true);
    platform.settle();
    run(platform.io, parts.recording.recorder().agentActed("c", "Acme"));
    EXPECT_THAT(platform.recordings.videos, IsEmpty());
    parts.state.setPaused(false);
    recording();
}

TEST_F(AgentRecordingTest, switchingRecordingsOffEndsTheRecording)
{
    parts.recording.state().setMode(RecordingMode::local);
    start();
    recording();
    parts.recording.state().setMode(RecordingMode::off);
    platform.settle();
    EXPECT_FALSE(isOpen());
    EXPECT_TRUE(platform.recordings.last().end);
    parts.recording.state().setMode(RecordingMode::local);
    recording(); // It was not the end for good.
}

TEST_F(AgentRecordingTest, quittingWithAPausedRecordingWaitsForItsEnd)
{
    parts.recording.state().setMode(RecordingMode::local);
    start();
    recording();
    platform.time.advance(10s);
    EXPECT_FALSE(parts.recording.state().isRecording());
    int ends = 0;
    Termination termination(platform.contexts.main, parts.runtime.recording(), [&] { ++ends; });

    EXPECT_EQ(termination.shouldTerminate(), Termination::Reply::terminateLater);
    EXPECT_FALSE(platform.recordings.last().end);
    platform.settle();
    EXPECT_TRUE(platform.recordings.last().end);
    EXPECT_EQ(ends, 1);
}

TEST_F(AgentRecordingTest, noRecordingBeginsOnceTheProcessEnds)
{
    parts.recording.state().setMode(RecordingMode::local);
    start();
    run(platform.io, parts.runtime.shutDown());
    platform.settle();
    run(platform.io, parts.recording.recorder().agentActed("c", "Acme"));
    EXPECT_THAT(platform.recordings.videos, IsEmpty());
}

TEST_F(AgentRecordingTest, oldRecordingsGoAtTheStartAndEveryTenMinutes)
{
    Date const now = platform.time.date();
    auto const folder = platform.recordingFolders.videos / "Zelvo";
    platform.recordingFolders.stored[folder / "Zelvo old.mp4"] = now - std::chrono::hours(24 * 7 + 1);
    platform.recordingFolders.stored[folder / "Zelvo soon.mp4"] = now - std::chrono::hours(24 * 7) + 9min;
    start();
    EXPECT_THAT(platform.recordingFolders.stored, SizeIs(1));
    platform.time.advance(9min + 59s);
    platform.settle();
    EXPECT_THAT(platform.recordingFolders.stored, SizeIs(1));
    platform.time.advance(2s);
    platform.settle();
    EXPECT_THAT(platform.recordingFolders.stored, IsEmpty());
}

TEST_F(AgentRecordingTest, whatAQuitLeftToBeSentIsTriedAtTheNextStart)
{
    leaveToBeSent();
    start();
    EXPECT_EQ(triesToSend(), 1);
}

TEST_F(AgentRecordingTest, whatIsLeftToBeSentIsTriedEveryTenMinutes)
{
    start();
    for (int tries = 1; tries <= 3; ++tries) {
        leaveToBeSent();
        platform.time.advance(599s);
        platform.settle();
        EXPECT_EQ(triesToSend(), tries - 1);
        platform.time.advance(1s);
        platform.settle();
        EXPECT_EQ(triesToSend(), tries);
    }
}

TEST_F(AgentRecordingTest, whatIsLeftToBeSentIsTriedOnceWhenTheNetworkIsBack)
{
    start();
    leaveToBeSent();
    platform.path.update(true);
    platform.settle();
    EXPECT_EQ(triesToSend(), 0); // The first update finds the network up and does nothing.
    platform.path.update(false);
    platform.settle();
    EXPECT_EQ(triesToSend(), 0);
    platform.path.update(true);
    platform.settle();
    EXPECT_EQ(triesToSend(), 1);
    leaveToBeSent();
    platform.path.update(true);
    platform.settle();
    EXPECT_EQ(triesToSend(), 1);
}

TEST_F(AgentRecordingTest, heartbeatTellsTheMode)
{
    start();
    for (auto const& [mode, text] :
         {std::pair(RecordingMode::local, "local"), std::pair(RecordingMode::share, "share"),
          std::pair(RecordingMode::off, "off")}) {
        parts.recording.state().setMode(mode);
        auto const record = run(platform.io, parts.heartbeat.current());
        ASSERT_TRUE(record);
        EXPECT_EQ(record->at("recording"), text);
    }
}

} // namespace
} // namespace zelvo
