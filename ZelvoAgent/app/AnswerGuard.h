#pragma once

#include "base/Clock.h"

namespace zelvo {

/// Keeps a person who types or clicks on while a panel comes up from saying yes unwittingly: a key says yes
/// only after a moment in which the panel had the keyboard and no key came, so never in the flow of typing
/// nor while it is held down; a click only when the panel has been there for that moment, so never as the
/// second of a double click that began before. A no counts at once. Thread: main.
class AnswerGuard {
public:
    static constexpr Duration quiet = 400ms;

    void opened(Instant now) { openedAt = lastKey = now; }
    /// The panel got the keyboard, or a key that is no answer was pressed on it.
    void disturbed(Instant now) { lastKey = now; }

    bool keyMayAllow(Instant now, bool isRepeated) const { return !isRepeated && now - lastKey >= quiet; }
    bool clickMayAllow(Instant now) const { return now - openedAt >= quiet; }

private:
    Instant openedAt{};
    Instant lastKey{};
};

} // namespace zelvo
