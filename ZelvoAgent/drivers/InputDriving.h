#pragma once

#include "base/Geometry.h"
#include "base/Task.h"
#include "drivers/InputAction.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelvo {

/// Operates mouse and keyboard. Refuses nothing and reports nothing: what cannot be made is left out.
/// Whole actions must be serialised by the caller.
/// Thread: any; resumes the caller on its own executor. Made by: drivers/InputDriver, tests/fakes/FakeInput.
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
    /// One chord: the modifiers among the names, and the last of the others.
    virtual Task<> pressKeys(std::vector<std::string> keys) = 0;
    virtual DesktopPoint cursorPosition() = 0;
};

} // namespace zelvo
