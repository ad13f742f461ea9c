#pragma once

#include "base/Geometry.h"
#include "base/Task.h"

#include <cstdint>
#include <functional>
#include <string>
#include <variant>

namespace zelvo {

enum class MouseButton { left, right, middle };

/// The modifiers of an event.
struct ModifierFlags {
    bool cmd = false;
    bool shift = false;
    bool alt = false;
    bool ctrl = false;
    bool fn = false;
    bool operator==(ModifierFlags const&) const = default;
};

struct MouseEvent {
    enum class Kind { moved, down, up, dragged };
    Kind kind = Kind::moved;
    DesktopPoint point;
    MouseButton button = MouseButton::left;
    int clickState = 0; ///< 1 for the first click of a series, 2 for a double click; 0 if unknown
    ModifierFlags flags;
    bool operator==(MouseEvent const&) const = default;
};

struct KeyEvent {
    enum class Kind { down, up };
    Kind kind = Kind::down;
    std::uint16_t keyCode = 0; ///< a virtual key code as KeyCodes knows them, by position on an ANSI keyboard
    ModifierFlags flags;
    bool operator==(KeyEvent const&) const = default;
};

/// A key event that carries text instead of a key.
struct TextEvent {
    KeyEvent::Kind kind = KeyEvent::Kind::down;
    std::string text; ///< UTF-8, whole user-perceived characters
    bool operator==(TextEvent const&) const = default;
};

struct ScrollEvent {
    std::int32_t dy = 0; ///< pixels; positive is up
    std::int32_t dx = 0; ///< pixels; positive is left
    bool operator==(ScrollEvent const&) const = default;
};

using PostedEvent = std::variant<MouseEvent, KeyEvent, TextEvent, ScrollEvent>;

/// Makes input events that reach the frontmost application, exactly as hardware does.
/// Thread: any, one caller at a time; resumes the caller on its own executor.
/// Made by: platform/linux/x11/input/X11EventPosting, tests/fakes/FakeEventPosting.
class EventPosting {
public:
    virtual ~EventPosting() = default;
    /// Waits for the minimum distance to earlier events, for instance between a click and a new first click.
    virtual Task<> ready(PostedEvent event) = 0;
    /// Makes the event without that wait. False if it could not be made.
    virtual Task<bool> post(PostedEvent event) = 0;
    /// Announces a whole text before its first TextEvent, so that an implementation can prepare for all of it
    /// at once. Throws DetailedAgentError if the desktop cannot type it; nothing is typed then.
    virtual Task<> beginText(std::string text) = 0;
    /// Undoes beginText; resumes when the text has arrived, as far as the system shows that.
    virtual Task<> endText() = 0;
    /// Releases every button and key that earlier events hold.
    virtual Task<> releaseAll() = 0;
    /// Resumes when the system has processed every posted event.
    virtual Task<> drained() = 0;
    /// Resumes when the window in front has handled every posted event, also in the processes that draw its
    /// pages, as far as the system shows that. False if it may not have: it is busy for longer.
    virtual Task<bool> delivered() = 0;
    /// The pointer's position; (0, 0) if it is unknown. May wait some milliseconds for the display server.
    virtual DesktopPoint pointerLocation() = 0;
    /// False if this program's windows could be anywhere: then nothing at all may be posted while one is open
    /// that only the person may answer.
    virtual bool knowsOwnWindows() const { return true; }
    /// Gives the question whether the text of an event may go on. An implementation that needs time between
    /// the keys of one TextEvent asks before each of them; after a no, nothing more of it is typed and post()
    /// gives false. Set at start and never changed. The question never posts.
    using MayContinue = std::function<Task<bool>()>;
    virtual void setMayContinue(MayContinue) {}
};

} // namespace zelvo
