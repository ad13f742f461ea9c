#pragma once

#include <cstdint>

namespace zelvo {

/// State of a window on the screen.
struct WindowStanding {
    bool exists = false;
    bool isOnScreen = false;
    bool hasKeyboard = false; ///< it, or a child of it
    bool operator==(WindowStanding const&) const = default;
};

/// The keyboard focus, and how a window gets it without a user action. The display server's ids identify
/// windows.
/// Thread: any; each call takes a few round trips to the display server.
/// Made by: platform/linux/x11/windows/X11WindowFocus, tests/fakes/FakeWindowFocus.
class WindowFocus {
public:
    virtual ~WindowFocus() = default;
    /// The active application window; 0 if there is none.
    virtual std::uint32_t activeWindow() = 0;
    /// Puts a visible window of this program above all others, on every workspace, out of task bars, and
    /// activates it.
    /// over  the window that was active before, 0 for none; a full-screen one stays below even when it
    ///       becomes active again
    virtual void putInFront(std::uint32_t window, std::uint32_t over) = 0;
    /// Activates a window on any workspace.
    virtual void activate(std::uint32_t window) = 0;
    virtual WindowStanding standing(std::uint32_t window) = 0;
    /// Is any key of the keyboard down?
    virtual bool isKeyDown() = 0;
};

} // namespace zelvo
