#include "app/widgets/ContentWindow.h"

#include "app/widgets/Button.h"
#include "app/widgets/Mnemonics.h"

#include <QApplication>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QScreen>
#include <QVBoxLayout>

#include <algorithm>

namespace zelvo {

namespace {

constexpr int leastVisible = 60; // Points of a window that a person can get hold of.

} // namespace

ContentWindow::ContentWindow(QString const& title)
{
    setWindowTitle(title);
    setFocusPolicy(Qt::ClickFocus);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    auto const check = [this] { stayOnScreen(); };
    QObject::connect(qApp, &QGuiApplication::screenRemoved, this, check, Qt::QueuedConnection);
    QObject::connect(qApp, &QGuiApplication::primaryScreenChanged, this, check, Qt::QueuedConnection);
    for (QScreen* const screen : QGuiApplication::screens())
        QObject::connect(screen, &QScreen::availableGeometryChanged, this, check, Qt::QueuedConnection);
}

void ContentWindow::bringToFront()
{
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void ContentWindow::rebuild()
{
    if (content) {
        content->hide();
        content->deleteLater(); // The call may come from one of its own buttons.
    }
    content = newContent();
    layout()->addWidget(content);
    content->show();
    assignMnemonics(*content);
}

void ContentWindow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    bool const looksDifferent = event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange;
    if (looksDifferent && content)
        rebuildSoon();
    if (event->type() == QEvent::ActivationChange && !isActiveWindow())
        showMnemonics(false); // The release of the key went to another window.
}

void ContentWindow::showEvent(QShowEvent* event)
{
    if (!content)
        rebuild();
    QWidget::showEvent(event);
    setFocus(); // No control has the keyboard until the person asks for one by Tab.
}

void ContentWindow::closeEvent(QCloseEvent* event)
{
    QWidget::closeEvent(event);
    if (onClosed)
        onClosed();
}

void ContentWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Alt)
        showMnemonics(true);
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

void ContentWindow::keyReleaseEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Alt)
        showMnemonics(false);
    QWidget::keyReleaseEvent(event);
}

void ContentWindow::showMnemonics(bool shows)
{
    setProperty(zelvo::showsMnemonics, shows);
    for (Button* const button : findChildren<Button*>())
        button->update();
}

void ContentWindow::stayOnScreen()
{
    if (!isVisible() || QGuiApplication::screens().isEmpty())
        return;
    QRect const frame = frameGeometry();
    auto const shows = [&](QScreen const* screen) {
        QRect const seen = screen->availableGeometry().intersected(frame);
        return seen.width() >= leastVisible && seen.height() >= leastVisible &&
               screen->availableGeometry().top() <= frame.top();
    };
    if (std::ranges::any_of(QGuiApplication::screens(), shows))
        return;
    QRect const room = QGuiApplication::primaryScreen()->availableGeometry();
    resize(std::min(width(), room.width()), std::min(height(), room.height()));
    move(room.center() - QPoint(width() / 2, height() / 2));
}

} // namespace zelvo
