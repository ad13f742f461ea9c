#pragma once

#include <cstdint>
#include <string>

namespace zelvo {

/// State of a window on the screen.
struct WindowStanding {
    bool exists = false;
    bool isOnScreen = false;
    bool hasKeyboard = false; ///< it, or a child of it
    bool operator==(WindowStanding const&) const = default;
};

/// A window of this program as its toolkit knows it. Display servers do not all let a program know their ids
/// of its windows.
struct OwnWindow {
    std::uint32_t nativeId = 0; ///< the toolkit's number of it, unique in this process; 0 for no window
    std::string title;
    bool operator==(OwnWindow const&) const = default;
};

/// The keyboard focus, and how a window gets it without a user action. The display server's ids identify
/// windows.
/// Thread: any; each call takes a few round trips to the display server.
/// Made by: platform/linux/x11/windows/X11WindowFocus,
/// platform/linux/wayland/windows/WaylandWindowFocus, tests/fakes/FakeWindowFocus.
class WindowFocus {
public:
    virtual ~WindowFocus() = default;
    /// The active application window; 0 if there is none.
    virtual std::uint32_t activeWindow() = 0;
    /// The display server's id of a window of this program; 0 if it has none, or none yet.
    virtual std::uint32_t idOf(OwnWindow const& window) = 0;
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
