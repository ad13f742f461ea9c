#include "app/menu/MarkDrawing.h"
#include "desktop/windows/WindowsFixture.h"

#include <QSystemTrayIcon>

#include <map>

namespace zelvo::test {
namespace {

QImage drawn(ZelvoMark::State state, bool recording, QSize size, QColor const& color = Qt::black)
{
    return MenuBarIcon::image(state, recording, color).pixmap(size).toImage();
}

int inkOf(QImage const& image)
{
    int ink = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            ink += qAlpha(image.pixel(x, y)) > 128;
    return ink;
}

class MenuBarIconTest : public WindowsFixture {};

TEST_F(MenuBarIconTest, showsADotWhileAnAgentWorksOnly)
{
    QSize const size(36, 36);
    int const idle = inkOf(drawn(ZelvoMark::State::idle, false, size));
    EXPECT_GT(inkOf(drawn(ZelvoMark::State::working, false, size)), idle);
    EXPECT_EQ(drawn(ZelvoMark::State::paused, false, size), drawn(ZelvoMark::State::idle, false, size));
}

TEST_F(MenuBarIconTest, isWiderWithADotAtItsRightWhileARecordingRuns)
{
    QImage const icon = drawn(ZelvoMark::State::idle, true, QSize(52, 36)); // Twice 26 by 18.
    EXPECT_GT(qAlpha(icon.pixel(46, 18)), 200);                             // The middle of the dot.
    EXPECT_EQ(qAlpha(icon.pixel(38, 18)), 0);                               // Between mark and dot.
    EXPECT_EQ(qAlpha(icon.pixel(46, 8)), 0);
}

TEST_F(MenuBarIconTest, isDrawnInTheColourThatThePanelNeeds)
{
    QImage const icon = drawn(ZelvoMark::State::idle, false, QSize(18, 18), Qt::white);
    for (int y = 0; y < icon.height(); ++y)
        for (int x = 0; x < icon.width(); ++x)
            if (qAlpha(icon.pixel(x, y)) == 255)
                EXPECT_EQ(icon.pixelColor(x, y), QColor(Qt::white));
}

TEST_F(MenuBarIconTest, everySizeIsDrawnAndNotScaled)
{
    for (int const side : {16, 18, 22, 24, 27, 36, 48}) {
        QImage const icon = drawn(ZelvoMark::State::idle, false, QSize(side, side));
        EXPECT_EQ(icon.size(), QSize(side, side));
        // A mark that is drawn at its size fills its pixels; one that is scaled is mostly half-transparent.
        EXPECT_GT(inkOf(icon), side * side / 6);
    }
}

} // namespace
} // namespace zelvo::test
