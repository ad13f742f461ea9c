#include "app/AnswerFilter.h"

#include <QKeyEvent>
#include <QWidget>
#include <QWindow>

#include <chrono>
#include <utility>

namespace zelvo {

namespace {

bool onlyMovesTheFocus(int key)
{
    switch (key) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Shift:
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        return true;
    default:
        return false;
    }
}

} // namespace

AnswerFilter::AnswerFilter(Clock& clock, std::function<bool(int key)> wouldAllow)
    : clock(clock), wouldAllow(std::move(wouldAllow))
{
}

void AnswerFilter::open(QWidget& window)
{
    guard.opened(clock.now());
    window.winId(); // Creates the native window.
    window.windowHandle()->installEventFilter(this);
}

void AnswerFilter::change()
{
    guard.changed(clock.now());
}

void AnswerFilter::activate()
{
    guard.activated(clock.now());
}

bool AnswerFilter::eventFilter(QObject* receiver, QEvent* event)
{
    return isUnwitting(*event) || QObject::eventFilter(receiver, event);
}

bool AnswerFilter::isUnwitting(QEvent const& event)
{
    Instant const now = clock.now();
    if (event.type() == QEvent::MouseButtonPress || event.type() == QEvent::MouseButtonDblClick)
        return !guard.clickMayCount(now);
    if (event.type() != QEvent::KeyPress)
        return false;
    auto const& press = static_cast<QKeyEvent const&>(event);
    Duration const pressedAt = std::chrono::milliseconds(press.timestamp());
    bool const refused = wouldAllow(press.key()) && !guard.keyMayAllow(now, pressedAt, press.isAutoRepeat());
    if (!onlyMovesTheFocus(press.key()))
        guard.keyPressed(now, pressedAt);
    return refused;
}

} // namespace zelvo
