#include "desktop/overlays/OverlayFixture.h"

#include <QApplication>
#include <QPalette>

namespace zelvo::test {
namespace {

/// Pictures of the overlays for inspection, in `build/tests/pictures`.
using OverlayPicturesTest = OverlayFixture;

INSTANTIATE_TEST_SUITE_P(WithAndWithoutCompositor, OverlayPicturesTest, testing::Bool());

TEST_P(OverlayPicturesTest, areDrawnInBothLooks)
{
    std::string const kind = GetParam() ? "blended-" : "cut-";
    ComputerAgents agents;
    agents.holder = ComputerAgent{"ref", "Claire", {}, {}, {}};
    parts->state.setLiveAgents(agents);
    parts->recording.state().setRecording(true);
    std::vector<QImage> seen;
    for (bool const dark : {false, true}) {
        QPalette palette(dark ? QColor(0x24, 0x26, 0x2b) : QColor(0xf4, 0xf4, 0xf6));
        palette.setColor(QPalette::WindowText, dark ? QColor(0xec, 0xec, 0xf0) : QColor(0x20, 0x22, 0x28));
        QApplication::setPalette(palette);
        beginWork();
        approach({400, 300});
        parts->cursor.pressed({"cmd", "shift", "4"});
        pass(200ms);
        seen.push_back(picture("overlay-" + kind + (dark ? "dark" : "light")));
        parts->cursor.clicked({400, 300}, 2);
        pass(150ms);
        seen.push_back(screenNow("overlay-" + kind + (dark ? "dark" : "light") + "-ripple"));
        pass(1s);
    }
    // The two looks have different accents.
    EXPECT_NE(seen[0].pixelColor(1, 500), seen[2].pixelColor(1, 500));
    EXPECT_NE(seen[0].pixelColor(424, 303), seen[2].pixelColor(424, 303));
}

} // namespace
} // namespace zelvo::test
