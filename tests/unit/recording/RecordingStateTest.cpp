#include "recording/RecordingState.h"

#include "fakes/FakeFileReveal.h"
#include "fakes/FakeUserDefaults.h"
#include "fakes/FakeVideoFolders.h"
#include "fakes/ManualClock.h"
#include "fakes/Run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::UnorderedElementsAre;

class RecordingStateTest : public testing::Test {
public:
    RecordingState& begin()
    {
        state.emplace(RecordingState::Services{
            .contexts = contextsOn(io),
            .clock = clock,
            .settings = settings,
            .retention = retention,
            .folders = folders,
            .reveal = reveal,
            .finishRecording = [this]() -> Task<> {
                modesAtFinish.push_back(settings.mode());
                co_return;
            },
            .askUndecided = [this] { ++questions; },
        });
        state->changed.connect([this] { ++changes; });
        return *state;
    }

    asio::io_context io;
    ManualClock clock{&io};
    FakeUserDefaults defaults;
    RecordingSettings settings{defaults};
    FakeVideoFolders folders;
    RecordingRetention retention{settings, folders};
    FakeFileReveal reveal;
    std::vector<RecordingMode> modesAtFinish;
    int questions = 0;
    int changes = 0;
    std::optional<RecordingState> state;
};

TEST_F(RecordingStateTest, beginsWithWhatIsStored)
{
    settings.setMode(RecordingMode::share);
    settings.setRetentionDays(14);
    begin();

    EXPECT_FALSE(state->isRecording());
    EXPECT_EQ(state->mode(), RecordingMode::share);
    EXPECT_EQ(state->retentionDays(), 14);
    EXPECT_EQ(questions, 0);
    EXPECT_THAT(modesAtFinish, IsEmpty());
}

TEST_F(RecordingStateTest, showsThatItRecords)
{
    begin().setRecording(true);
    EXPECT_TRUE(state->isRecording());
    EXPECT_EQ(changes, 1);

    state->setRecording(true);
    EXPECT_EQ(changes, 1);

    state->setRecording(false);
    EXPECT_FALSE(state->isRecording());
    EXPECT_EQ(changes, 2);
}

TEST_F(RecordingStateTest, storesAModeThatDiffers)
{
    begin().setMode(RecordingMode::local);

    EXPECT_EQ(state->mode(), RecordingMode::local);
    EXPECT_EQ(settings.mode(), RecordingMode::local);
    EXPECT_EQ(changes, 1);
    settle(io);
    EXPECT_EQ(questions, 0);
    EXPECT_THAT(modesAtFinish, IsEmpty());
}

TEST_F(RecordingStateTest, writesTheModeThatItHasWithoutFurtherEffect)
{
    settings.setMode(RecordingMode::share);
    begin();
    int const before = defaults.sets;

    state->setMode(RecordingMode::share);
    settle(io);

    EXPECT_EQ(defaults.sets, before + 1);
    EXPECT_EQ(settings.mode(), RecordingMode::share);
    EXPECT_EQ(questions, 0);
    EXPECT_EQ(changes, 0);
}

TEST_F(RecordingStateTest, writesTheChosenModeOverAnotherProgramsChange)
{
    settings.setMode(RecordingMode::local);
    begin();
    settings.setMode(RecordingMode::share); // Another program; the state still shows "local".

    state->setMode(RecordingMode::local);

    EXPECT_EQ(settings.mode(), RecordingMode::local);
}

TEST_F(RecordingStateTest, hasItsEffectsAlsoWhenOnlyTheFileDiffers)
{
    begin();
    settings.setMode(RecordingMode::share); // Another program, and a recording began.
    state->setMode(RecordingMode::off);
    settle(io);
    EXPECT_THAT(modesAtFinish, ElementsAre(RecordingMode::off));

    state->setMode(RecordingMode::share);
    settings.setMode(RecordingMode::off);
    state->setMode(RecordingMode::share);
    EXPECT_EQ(questions, 2);
}

TEST_F(RecordingStateTest, writesTheRetentionThatItHas)
{
    begin().setRetentionDays(14);
    settings.setRetentionDays(1); // Another program.

    state->setRetentionDays(14);
    settle(io);

    EXPECT_EQ(settings.retentionDays(), 14);
}

TEST_F(RecordingStateTest, endsARecordingWhenSwitchedOff)
{
    settings.setMode(RecordingMode::local);
    begin().setMode(RecordingMode::off);
    settle(io);

    EXPECT_THAT(modesAtFinish, ElementsAre(RecordingMode::off)); // Stored before the recording is closed.
}

TEST_F(RecordingStateTest, putsTheOpenQuestionsWhenSharing)
{
    begin().setMode(RecordingMode::share);
    EXPECT_EQ(questions, 1);

    state->setMode(RecordingMode::local);
    EXPECT_EQ(questions, 1);

    state->setMode(RecordingMode::share);
    EXPECT_EQ(questions, 2);
}

TEST_F(RecordingStateTest, worksWithoutAnybodyToTell)
{
    RecordingState alone({.contexts = contextsOn(io),
                          .clock = clock,
                          .settings = settings,
                          .retention = retention,
                          .folders = folders,
                          .reveal = reveal,
                          .finishRecording = {},
                          .askUndecided = {}});
    alone.setMode(RecordingMode::share);
    alone.setMode(RecordingMode::off);
    settle(io);

    EXPECT_EQ(settings.mode(), RecordingMode::off);
}

TEST_F(RecordingStateTest, removesAtOnceWhatAShorterTimeMakesTooOld)
{
    std::filesystem::path const folder = "/home/me/Videos/Zelvo";
    folders.stored[folder / "Zelvo 5.mp4"] = clock.date() - 5 * std::chrono::seconds(86'400);
    folders.stored[folder / "Zelvo 2.mp4"] = clock.date() - 2 * std::chrono::seconds(86'400);
    begin().setRetentionDays(3);
    settle(io);

    EXPECT_EQ(settings.retentionDays(), 3);
    EXPECT_EQ(state->retentionDays(), 3);
    EXPECT_EQ(changes, 1);
    EXPECT_THAT(folders.stored, UnorderedElementsAre(Key(folder / "Zelvo 2.mp4")));
}

TEST_F(RecordingStateTest, showsTheDaysThatAreInForce)
{
    begin().setRetentionDays(2); // Not one of the choices.

    EXPECT_EQ(state->retentionDays(), 7);
    settle(io);
}

TEST_F(RecordingStateTest, makesTheFolderAndShowsIt)
{
    begin().showInFinder();
    settle(io);

    EXPECT_THAT(folders.made, Contains("/home/me/Videos/Zelvo"));
    EXPECT_THAT(reveal.revealed, ElementsAre("/home/me/Videos/Zelvo"));
}

TEST_F(RecordingStateTest, showsTheFolderAlsoWhenItCannotBeMade)
{
    folders.makeFailure = EROFS;
    begin().showInFinder();
    settle(io);

    EXPECT_THAT(reveal.revealed, ElementsAre("/home/me/Videos/Zelvo"));
}

} // namespace
} // namespace zelvo
