#pragma once

#include "base/Clock.h"

#include <optional>

namespace zelvo {

/// Prevents an unintended yes from a person who is typing or clicking when a panel opens. A key allows only
/// after 0.4 s in which the panel had the keyboard and no key came, so never while the person types on or
/// holds the key down. A click counts only 0.4 s after the panel opened, so never as the second click of an
/// earlier double click. A key that denies counts at once. Thread: main.
class AnswerGuard {
public:
    static constexpr Duration quiet = 400ms;

    void opened(Instant now) { openedAt = lastKey = now; }
    /// The panel got the keyboard.
    void activated(Instant now) { lastKey = now; }
    /// Every key except those that only move the focus. pressedAt: the event's own timestamp, because a busy
    /// program receives several keys at once.
    void keyPressed(Instant now, Duration pressedAt)
    {
        lastKey = now;
        lastPress = pressedAt;
    }

    bool keyMayAllow(Instant now, Duration pressedAt, bool isRepeated) const
    {
        bool const followsAnother = lastPress && pressedAt - *lastPress < quiet;
        return !isRepeated && !followsAnother && now - lastKey >= quiet;
    }
    bool clickMayCount(Instant now) const { return now - openedAt >= quiet; }

private:
    Instant openedAt{};
    Instant lastKey{};
    std::optional<Duration> lastPress;
};

} // namespace zelvo
