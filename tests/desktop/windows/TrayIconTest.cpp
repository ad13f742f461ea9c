#include "app/menu/MarkDrawing.h"
#include "desktop/windows/WindowsFixture.h"

#include <QPointer>
#include <QSystemTrayIcon>

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

/// The icon that the user interface shows in a tray.
class TrayIconTest : public WindowsFixture {
protected:
    void SetUp() override
    {
        WindowsFixture::SetUp();
        connect();
    }
    QSystemTrayIcon* icon() { return ui->trayIcon().shown(); }
    std::string toolTip() { return icon()->toolTip().toStdString(); }
    bool shows(ZelvoMark::State state, bool recording)
    {
        settle();
        QSize const size(52, 36);
        return icon()->icon().pixmap(size).toImage() ==
               drawn(state, recording, size, QApplication::palette().windowText().color());
    }
    void click()
    {
        Q_EMIT icon()->activated(QSystemTrayIcon::Trigger);
        settle();
    }
};

TEST_F(TrayIconTest, showsADotWhileAnAgentWorks)
{
    startWithTray();
    EXPECT_TRUE(shows(ZelvoMark::State::idle, false));

    parts->state.markWorking();
    EXPECT_TRUE(shows(ZelvoMark::State::working, false));
    EXPECT_FALSE(shows(ZelvoMark::State::idle, false));

    platform->time.advance(3s);
    EXPECT_TRUE(shows(ZelvoMark::State::idle, false));
}

TEST_F(TrayIconTest, showsThePausedMarkWithoutTheDotWhileAnAgentWorks)
{
    startWithTray();
    parts->state.markWorking();
    parts->state.setPaused(true);

    EXPECT_TRUE(parts->state.isAgentWorking());
    EXPECT_TRUE(shows(ZelvoMark::State::paused, false));
    EXPECT_FALSE(shows(ZelvoMark::State::working, false));
    EXPECT_EQ(toolTip(), "Zelvo: " + localized("status.paused"));
}

TEST_F(TrayIconTest, losesTheDotOfARecordingThatPausesForIdleness)
{
    startRecording();
    startWithTray();
    EXPECT_TRUE(shows(ZelvoMark::State::idle, true));

    platform->time.advance(10s);

    EXPECT_TRUE(parts->recording.recorder().hasOpenFile()); // It is paused and not at its end.
    EXPECT_TRUE(shows(ZelvoMark::State::idle, false));
}

TEST_F(TrayIconTest, comesGoesAndComesAgainWithTheTray)
{
    ui->start();
    EXPECT_FALSE(icon());

    platform->systemTray.become({.isPresent = true});
    ASSERT_TRUE(icon());
    EXPECT_TRUE(icon()->isVisible());
    EXPECT_EQ(toolTip(), "Zelvo: " + localized("status.ready"));

    QPointer<QSystemTrayIcon> const first = icon();
    platform->systemTray.become({});
    EXPECT_TRUE(first.isNull());
    EXPECT_FALSE(icon());
    parts->state.setPaused(true);
    settle();

    platform->systemTray.become({.isPresent = true});
    ASSERT_TRUE(icon());
    EXPECT_TRUE(icon()->isVisible());
    EXPECT_EQ(toolTip(), "Zelvo: " + localized("status.paused"));
    click();
    EXPECT_TRUE(ui->shownPanel());
}

TEST_F(TrayIconTest, isDrawnInTheColourThatTheTrayWants)
{
    startWithTray();
    Rgb const wanted{.red = 0xfe, .green = 0x80, .blue = 0x01};

    platform->systemTray.become({.isPresent = true, .foreground = wanted});
    settle();

    QSize const size(36, 36);
    EXPECT_EQ(icon()->icon().pixmap(size).toImage(),
              drawn(ZelvoMark::State::idle, false, size, QColor(0xfe, 0x80, 0x01)));
}

TEST_F(TrayIconTest, aSecondClickClosesThePanel)
{
    startWithTray();
    click();
    ASSERT_TRUE(ui->shownPanel());

    click();

    EXPECT_TRUE(until([this] { return !ui->shownPanel(); }));
}

TEST_F(TrayIconTest, itsToolTipFollowsAPermissionThatIsLost)
{
    startWithTray();
    EXPECT_EQ(toolTip(), "Zelvo: " + localized("status.ready"));

    platform->systemAccess.granted.accessibility = false;
    platform->systemAccess.changed();
    settle();

    EXPECT_EQ(toolTip(), "Zelvo: " + localized("status.needsPermissions"));
}

TEST_F(TrayIconTest, followsThePermissionsNoLongerThanItExists)
{
    startWithTray();
    EXPECT_FALSE(platform->systemAccess.changed.empty());

    ui.reset();

    EXPECT_TRUE(platform->systemAccess.changed.empty());
}

} // namespace
} // namespace zelvo::test
