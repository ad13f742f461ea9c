#pragma once

#include "app/AnswerGuard.h"

#include <QObject>
#include <QPointer>
#include <QWidget>

#include <functional>

class QInputEvent;
class QMouseEvent;

namespace zelvo {

/// Applies AnswerGuard to a window that asks something: sees each key and click of a person once, before any
/// part of the window does, and drops those that must not count. Each is judged by when the person made it: a
/// program that was held up receives what was meant for an earlier content of its window. Assistive tools
/// press buttons without it. Thread: main.
class AnswerFilter final : public QObject {
public:
    /// wouldAllow  whether this key, pressed now, would give something
    AnswerFilter(Clock& clock, std::function<bool(int key)> wouldAllow);

    /// Begins with a window that is about to be shown.
    void open(QWidget& window);
    /// The window asks something else from now on.
    void change();
    /// The window got the keyboard.
    void activate();
    /// The button that denies; null for none.
    void setDeny(QWidget* button) { deny = button; }

protected:
    bool eventFilter(QObject* receiver, QEvent* event) override;

private:
    bool isUnwitting(QEvent const& event);
    bool isUnwittingClick(QMouseEvent const& click) const;
    Instant madeAt(QInputEvent const& event) const;

    Clock& clock;
    std::function<bool(int key)> wouldAllow;
    AnswerGuard guard;
    QPointer<QWidget> deny;
};

} // namespace zelvo
