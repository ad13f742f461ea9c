#pragma once

#include "base/Geometry.h"
#include "base/Task.h"
#include "drivers/InputAction.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zelvo {

/// Operates mouse and keyboard. It checks nothing and reports no errors: an event that cannot be made is
/// skipped. The caller must serialise whole actions. Thread: any; resumes the caller on the caller's
/// executor. Made by: drivers/InputDriver.
class InputDriving {
public:
    virtual ~InputDriving() = default;
    /// Called before a part of an action; what it throws ends the action.
    using Before = std::function<Task<>()>;
    using BeforePiece = std::function<Task<>(std::string piece)>;

    virtual Task<> move(DesktopPoint to) = 0;
    virtual Task<>
    click(DesktopPoint at, MouseButton button, std::int64_t count, std::vector<Modifier> modifiers) = 0;
    /// beforeNext  called before each click but the first
    virtual Task<> click(DesktopPoint at,
                         MouseButton button,
                         std::int64_t count,
                         std::vector<Modifier> modifiers,
                         Before beforeNext) = 0;
    virtual Task<> mouseDown(DesktopPoint at, MouseButton button) = 0;
    virtual Task<> mouseUp(DesktopPoint at, MouseButton button) = 0;
    virtual Task<> drag(DesktopPoint from, DesktopPoint to, MouseButton button, std::int64_t durationMs) = 0;
    /// A drag without its end: the button stays down. False if it could not be made.
    virtual Task<bool>
    dragHeld(DesktopPoint from, DesktopPoint to, MouseButton button, std::int64_t durationMs) = 0;
    /// Pixels; positive dy is up, positive dx is left.
    virtual Task<> scroll(DesktopPoint at, double dx, double dy) = 0;
    virtual Task<> type(std::string text) = 0;
    /// before  called before each line end and each blank, with the text from there to the next one
    virtual Task<> type(std::string text, BeforePiece before) = 0;
    /// Presses one chord: the modifiers among the names, and the last of the other keys.
    virtual Task<> pressKeys(std::vector<std::string> keys) = 0;
    /// Releases every button and key that is held.
    virtual Task<> releaseAll() = 0;
    /// Resumes when the window in front has handled everything, as far as the system shows that. False if it
    /// may not have: it is busy for longer.
    virtual Task<bool> delivered() = 0;
    virtual DesktopPoint cursorPosition() = 0;
};

} // namespace zelvo
