#include "end_to_end/RecordingFixture.h"

namespace zelvo::test {
namespace {

// Takes a minute and a half of real time: the program's clock, timers and recording together.
TEST_F(Recording, goesOnInTheSameRecordingAfterAPauseAndEndsAMinuteLater)
{
    connection = startUnattended();

    EXPECT_EQ(codeOf(perform({clickAt(300, 300)})), "ok");
    waitFor([] { return false; }, 14s); // Ten seconds without an action pause it.
    EXPECT_EQ(codeOf(perform({clickAt(310, 300)})), "ok");
    auto const isClosed = [&] {
        auto const lines = agent.activity();
        return std::ranges::find(lines, "Recording saved") != lines.end();
    };
    EXPECT_FALSE(isClosed());
    EXPECT_TRUE(waitFor(isClosed, 80s)); // Ten seconds, then a minute.
    ASSERT_EQ(recordings().size(), 1u);
    PlayedRecording const recording(desktop, recordings().front());

    EXPECT_NEAR(recording.facts.duration, 20, 1.5);
}

} // namespace
} // namespace zelvo::test
