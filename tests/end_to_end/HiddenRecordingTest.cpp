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
    /// A window that shows what was below it.
    std::uint32_t openBare(int x, int y)
    {
        auto const window = painter.open(
            {.x = x, .y = y, .width = 120, .height = 120, .overrideRedirect = true, .mapped = false});
        std::uint32_t const none = XCB_BACK_PIXMAP_NONE;
        xcb_change_window_attributes(painter.x(), window, XCB_CW_BACK_PIXMAP, &none);
        painter.map(window);
        return window;
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

TEST_F(HiddenRecording, hasNothingOfItInWindowsThatNeverDrew)
{
    agent.store("dev.zelvo.hiddenApps", json::array{"hushhush"});
    connection = startUnattended();
    PainterProcess hidden(desktop, desktop.home() / "hushhush");
    auto const window = hidden.open(
        {.x = 100, .y = 100, .width = 500, .height = 400, .color = secret, .overrideRedirect = true});
    EXPECT_EQ(codeOf(perform({clickAt(1000, 800)})), "ok");

    openBare(200, 200);
    letItRun();
    auto const second = openBare(300, 250);
    painter.move(second, 800, 600);
    letItRun();
    hidden.move(window, 600, 100);
    letItRun();
    hidden.close(window);
    openBare(650, 150);
    letItRun();

    PlayedRecording const recording = onlyRecording();
    EXPECT_GE(recording.frames.size(), 3u);
    expectWithout(recording, secret);
}

} // namespace
} // namespace zelvo::test
