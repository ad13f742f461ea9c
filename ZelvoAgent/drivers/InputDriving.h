#pragma once

#include "base/Geometry.h"
#include "base/Task.h"
#include "drivers/InputAction.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelvo {

/// Operates mouse and keyboard. It checks nothing and reports no errors: an event that cannot be made is
/// skipped. The caller must serialise whole actions. Thread: any; resumes the caller on the caller's
/// executor. Made by: drivers/InputDriver.
class InputDriving {
public:
    virtual ~InputDriving() = default;
    virtual Task<> move(DesktopPoint to) = 0;
    virtual Task<>
    click(DesktopPoint at, MouseButton button, std::int64_t count, std::vector<Modifier> modifiers) = 0;
    virtual Task<> mouseDown(DesktopPoint at, MouseButton button) = 0;
    virtual Task<> mouseUp(DesktopPoint at, MouseButton button) = 0;
    virtual Task<> drag(DesktopPoint from, DesktopPoint to, MouseButton button, std::int64_t durationMs) = 0;
    /// Pixels; positive dy is up, positive dx is left.
    virtual Task<> scroll(DesktopPoint at, double dx, double dy) = 0;
    virtual Task<> type(std::string text) = 0;
    /// Presses one chord: the modifiers among the names, and the last of the other keys.
    virtual Task<> pressKeys(std::vector<std::string> keys) = 0;
    virtual DesktopPoint cursorPosition() = 0;
};

} // namespace zelvo
