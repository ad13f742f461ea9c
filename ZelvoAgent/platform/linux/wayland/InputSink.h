#pragma once

#include "base/Task.h"
#include "platform/linux/wayland/MonitorLayout.h"

#include <cstdint>
#include <string>

namespace zelvo {

/// Makes input events through one door of the compositor. It knows no modifiers and no text: who uses it
/// presses each key and releases it. Thread: any; one call at a time. Each resumes when the event has been
/// handed over, the caller on its own executor. False if it could not be made: nothing is granted, or the
/// compositor is gone. Made by: wayland/wlr, wayland/portal, tests/fakes/FakeInputSink.
class InputSink {
public:
    virtual ~InputSink() = default;
    /// Whether events can be made now. Never waits.
    virtual bool isReady() const = 0;
    virtual Task<bool> moveTo(LogicalPoint point) = 0;
    /// button  the kernel's number: BTN_LEFT and so on
    virtual Task<bool> button(int button, bool isDown) = 0;
    /// Turns the wheel. Positive is down and right.
    virtual Task<bool> scroll(int clicksDown, int clicksRight) = 0;
    /// key  the kernel's number: KEY_A and so on, which the layout of the moment interprets
    virtual Task<bool> key(int key, bool isDown) = 0;
    /// Resumes when the compositor has processed everything that was posted.
    virtual Task<> drained() = 0;
    /// Types characters that need no key of the layout: with a keymap made for them. False if the door has no
    /// such way, and nothing is typed then. text  UTF-8
    virtual Task<bool> type(std::string text) = 0;
};

} // namespace zelvo
