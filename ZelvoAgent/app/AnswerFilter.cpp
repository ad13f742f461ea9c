#include "app/AnswerFilter.h"

#include <QKeyEvent>
#include <QMouseEvent>
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

/// How long the event waited for a program that was held up. The window system stamps events with the
/// monotonic clock. The stamps of a display on another machine cannot be compared with it and give no wait. A
/// busy machine also makes events wait, so only a wait longer than the guard's longest pause counts.
Duration waitOf(QInputEvent const& event)
{
    using std::chrono::milliseconds;
    auto const now = std::chrono::duration_cast<milliseconds>(
        std::chrono::steady_clock::now().time_since_epoch());                   // CLOCK_MONOTONIC
    milliseconds const waited((now.count() - event.timestamp()) & 0xffff'ffff); // A stamp has 32 bits.
    return waited > AnswerGuard::afterChange && waited < 1h ? waited : 0ms;
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
    if (event.type() == QEvent::MouseButtonPress || event.type() == QEvent::MouseButtonDblClick)
        return isUnwittingClick(static_cast<QMouseEvent const&>(event));
    if (event.type() != QEvent::KeyPress)
        return false;
    auto const& press = static_cast<QKeyEvent const&>(event);
    Duration const pressedAt = std::chrono::milliseconds(press.timestamp());
    bool const refused =
        wouldAllow(press.key()) && !guard.keyMayAllow(madeAt(press), pressedAt, press.isAutoRepeat());
    if (!onlyMovesTheFocus(press.key()))
        guard.keyPressed(clock.now(), pressedAt);
    return refused;
}

bool AnswerFilter::isUnwittingClick(QMouseEvent const& click) const
{
    QPoint const place = click.globalPosition().toPoint();
    bool const denies = deny && deny->rect().contains(deny->mapFromGlobal(place));
    return denies ? !guard.clickMayDeny(madeAt(click)) : !guard.clickMayCount(madeAt(click));
}

Instant AnswerFilter::madeAt(QInputEvent const& event) const
{
    return clock.now() - waitOf(event);
}

} // namespace zelvo
