#pragma once

#include <cstdint>

namespace zelvo {

/// How a window stands on the screen.
struct WindowStanding {
    bool exists = false;
    bool isOnScreen = false;
    bool hasKeyboard = false; ///< it, or a part of it
    bool operator==(WindowStanding const&) const = default;
};

/// Who has the keyboard, and how a window gets it although the person did not ask for that just now. Windows
/// go by the display server's numbers.
/// Thread: any; each call takes a few round trips to the display server.
/// Made by: platform/linux/x11/windows/X11WindowFocus, tests/fakes/FakeWindowFocus.
class WindowFocus {
public:
    virtual ~WindowFocus() = default;
    /// The application's window that the person works in; 0 when there is none.
    virtual std::uint32_t activeWindow() = 0;
    /// Puts a window of this program that is on the screen above all others, on every workspace, out of task
    /// bars, and makes it the active one. over: the window that was active before, 0 for none; if that fills
    /// the screen, it does not cover the window either when the person goes back to it.
    virtual void putInFront(std::uint32_t window, std::uint32_t over) = 0;
    /// Makes a window active, wherever it is.
    virtual void activate(std::uint32_t window) = 0;
    virtual WindowStanding standing(std::uint32_t window) = 0;
    /// Is any key of the keyboard down?
    virtual bool isKeyDown() = 0;
};

} // namespace zelvo
