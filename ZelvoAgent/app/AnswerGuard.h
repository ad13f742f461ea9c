#pragma once

#include "base/Clock.h"

#include <optional>

namespace zelvo {

/// Keeps a person who types or clicks on while a panel comes up from saying yes unwittingly: a key says yes
/// only after a moment in which the panel had the keyboard and no key came, so never in the flow of typing
/// nor while it is held down; a click counts only when the panel has been there for that moment, so never as
/// the second of a double click that began before. A key that says no counts at once. Thread: main.
class AnswerGuard {
public:
    static constexpr Duration quiet = 400ms;

    void opened(Instant now) { openedAt = lastKey = now; }
    /// The panel got the keyboard.
    void activated(Instant now) { lastKey = now; }
    /// Every key but those that only lead about the window. pressedAt: by the clock that stamps events, which
    /// counts when the program was busy and sees several keys at once.
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
