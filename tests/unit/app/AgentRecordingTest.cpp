#include "app/AgentRecording.h"

#include "base/LocalizedTexts.h"
#include "unit/app/RuntimeDesk.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

class AgentRecordingTest : public RuntimeDesk {
protected:
    /// An agent acts, and its film has a first picture.
    void film()
    {
        run(platform.io, parts.recording.recorder().agentActed("c", "Acme"));
        ASSERT_THAT(platform.streams.opened, SizeIs(1));
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
};

TEST_F(AgentRecordingTest, filmsNothingUnlessThePersonWantsIt)
{
    start();
    run(platform.io, parts.recording.recorder().agentActed("c", "Acme"));
    EXPECT_THAT(platform.films.movies, IsEmpty());
}

TEST_F(AgentRecordingTest, filmsAnActionAndShowsThat)
{
    parts.recording.state().setMode(RecordingMode::local);
    start();
    film();
    EXPECT_TRUE(isOpen());
    EXPECT_TRUE(parts.recording.state().isRecording());
    EXPECT_THAT(platform.streams.last().request.picture.excluded, Contains("dev.zelvo.agent"));
}

TEST_F(AgentRecordingTest, pausingTheAgentEndsTheFilmAndResumingStartsNone)
{
    parts.recording.state().setMode(RecordingMode::local);
    start();
    film();
    parts.state.setPaused(true);
    platform.settle();
    EXPECT_FALSE(isOpen());
    EXPECT_TRUE(platform.films.last().end);
    EXPECT_THAT(logged(), Contains(localized("recording.saved")));
    parts.state.setPaused(false);
    platform.settle();
    EXPECT_FALSE(isOpen());
    EXPECT_FALSE(parts.recording.state().isRecording());
}

TEST_F(AgentRecordingTest, switchingRecordingsOffEndsTheFilm)
{
    parts.recording.state().setMode(RecordingMode::local);
    start();
    film();
    parts.recording.state().setMode(RecordingMode::off);
    platform.settle();
    EXPECT_FALSE(isOpen());
    EXPECT_TRUE(platform.films.last().end);
}

TEST_F(AgentRecordingTest, oldFilmsGoAtTheStartAndEveryTenMinutes)
{
    Date const now = platform.time.date();
    auto const folder = platform.filmFolders.movies / "Zelvo";
    platform.filmFolders.stored[folder / "Zelvo old.mp4"] = now - std::chrono::hours(24 * 7 + 1);
    platform.filmFolders.stored[folder / "Zelvo soon.mp4"] = now - std::chrono::hours(24 * 7) + 9min;
    start();
    EXPECT_THAT(platform.filmFolders.stored, SizeIs(1));
    platform.time.advance(9min + 59s);
    platform.settle();
    EXPECT_THAT(platform.filmFolders.stored, SizeIs(1));
    platform.time.advance(2s);
    platform.settle();
    EXPECT_THAT(platform.filmFolders.stored, IsEmpty());
}

TEST_F(AgentRecordingTest, whatAQuitLeftToBeSentIsTriedAtTheNextStart)
{
    RecordingUploadQueue(platform.settings)
        .append({.path = "/gone.mp4", .connectionId = "c", .durationSec = 1});
    start();
    // There is no such connection any more; that it was tried is what the log tells.
    EXPECT_THAT(logged(),
                Contains(localized("recording.keptLocal", {localized("recording.reason.noScope")})));
}

} // namespace
} // namespace zelvo
