#include "end_to_end/RecordingFixture.h"

namespace zelvo::test {
namespace {

class HiddenRecording : public Recording {
protected:
    /// Everything that a window can do, each on the screen for a few frames.
    static void restless(PainterProcess& hidden)
    {
        auto const pause = [] { waitFor([] { return false; }, 120ms); };
        auto const window = hidden.open(
            {.x = 100, .y = 100, .width = 300, .height = 300, .color = secret, .title = "hidden"});
        for (int round = 0; round < 4; ++round) {
            pause();
            hidden.move(window, 150 + 60 * round, 200);
            pause();
            hidden.resize(window, 200 + 80 * round, 250);
            pause();
            hidden.unmap(window);
            pause();
            hidden.map(window);
            hidden.raise(window);
            pause();
            auto const menu = hidden.open({.x = 50 + 200 * round,
                                           .y = 600,
                                           .width = 180,
                                           .height = 120,
                                           .color = secret,
                                           .overrideRedirect = true,
                                           .type = "_NET_WM_WINDOW_TYPE_TOOLTIP"});
            pause();
            hidden.close(menu);
        }
    }
};

TEST_F(HiddenRecording, hasAHiddenApplicationInNoFrameWhateverItDoes)
{
    agent.store("dev.zelvo.hiddenApps", json::array{"hushhush"});
    connection = startUnattended();
    PainterProcess hidden(desktop, desktop.home() / "hushhush");
    painter.open({.x = 900, .y = 100, .width = 200, .height = 200, .color = 0xf0e080, .title = "shown"});
    EXPECT_EQ(codeOf(perform({clickAt(1000, 200)})), "ok");

    restless(hidden);

    PlayedRecording const recording = onlyRecording();
    EXPECT_GE(recording.frames.size(), 10u);
    expectWithout(recording, secret);
    EXPECT_GT(pixelsLike(recording.frames.back(), 0xf0e080), 10000);
}

} // namespace
} // namespace zelvo::test
