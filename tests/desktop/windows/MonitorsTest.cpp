// Windows and a screen that becomes smaller.
#include "app/ConfirmationDialog.h"
#include "desktop/windows/WindowsFixture.h"

#include <QScreen>
#include <QWindow>

namespace zelvo::test {
namespace {

class MonitorsTest : public WindowsFixture {
protected:
    // A window manager may move windows too.
    void SetUp() override { bringUp({.windowManager = false}); }
    void makeScreenSmaller()
    {
        desktop->run({"sh", "-c",
                      "xrandr --newmode small 40 1000 1020 1040 1060 800 810 820 830 && "
                      "xrandr --addmode screen small && xrandr --output screen --mode small"});
        ASSERT_TRUE(until([] { return QGuiApplication::primaryScreen()->size() == QSize(1000, 800); }));
    }
    /// Whether a person can get hold of its title bar.
    static bool isOnScreen(QWidget const& window)
    {
        QRect const screen = QGuiApplication::primaryScreen()->geometry();
        QRect const frame = window.frameGeometry();
        return frame.top() >= 0 && frame.top() < screen.bottom() && screen.intersected(frame).width() >= 60;
    }
};

TEST_F(MonitorsTest, everyWindowComesBackToTheScreen)
{
    auto const all = {AppWindow::main, AppWindow::welcome, AppWindow::diagnostics, AppWindow::hiddenApps,
                      AppWindow::permissionHelp};
    for (AppWindow const which : all)
        open(which).move(1500, 1300);
    settle();

    makeScreenSmaller();

    for (AppWindow const which : all)
        EXPECT_TRUE(until([&] { return isOnScreen(*ui->openWindows().shown(which)); }))
            << static_cast<int>(which) << " at " << ui->openWindows().shown(which)->frameGeometry().x()
            << ", " << ui->openWindows().shown(which)->frameGeometry().y();
}

TEST_F(MonitorsTest, aQuestionComesBackToTheScreen)
{
    ConfirmationDialog question(
        {.title = "Press Send?", .detail = "Acme", .allowTitle = "Allow", .denyTitle = "Deny"},
        platform->time);
    question.show();
    question.move(2000, 1500);
    ASSERT_TRUE(until([&] { return question.isVisible() && question.windowHandle()->isExposed(); }));

    makeScreenSmaller();

    EXPECT_TRUE(until([&] { return isOnScreen(question); }));
}

} // namespace
} // namespace zelvo::test
