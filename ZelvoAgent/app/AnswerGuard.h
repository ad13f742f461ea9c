#pragma once

#include "base/Clock.h"

#include <optional>

namespace zelvo {

/// Prevents an unintended yes from a person who is typing or clicking when a window opens or changes. A key
/// allows only after 0.4 s in which the window had the keyboard and no key came, so never while the person
/// types on or holds the key down. A click counts only 0.4 s after the window opened or got the keyboard, so
/// never as the second click of a double click on what was over it; one that denies may itself have given the
/// window the keyboard. After the window's content was replaced all of them count only after a full second. A
/// key that denies counts at once. Thread: main.
class AnswerGuard {
public:
    static constexpr Duration quiet = 400ms;
    static constexpr Duration afterChange = 1s;

    void opened(Instant now) { begin(now, quiet); }
    /// The window asks something else from now on.
    void changed(Instant now) { begin(now, afterChange); }
    /// The window got the keyboard.
    void activated(Instant now) { activatedAt = lastKey = now; }
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
        return !isRepeated && !followsAnother && now - lastKey >= quiet && clickMayCount(now);
    }
    bool clickMayCount(Instant now) const { return clickMayDeny(now) && now - activatedAt >= quiet; }
    bool clickMayDeny(Instant now) const { return now - beganAt >= pause; }

private:
    void begin(Instant now, Duration first)
    {
        beganAt = activatedAt = lastKey = now;
        pause = first;
    }

    Instant beganAt{};
    Instant activatedAt{};
    Duration pause = quiet;
    Instant lastKey{};
    std::optional<Duration> lastPress;
};

} // namespace zelvo
