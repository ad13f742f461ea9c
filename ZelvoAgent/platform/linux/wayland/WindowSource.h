#pragma once

#include "platform/linux/applications/WindowWords.h"
#include "platform/linux/wayland/MonitorLayout.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A window as the compositor knows it.
struct CompositorWindow {
    enum class Kind {
        normal,
        dialog,
        popup,   ///< a menu, a tooltip, a list that dropped down
        dock,    ///< a panel of the desktop
        overlay, ///< above all others and without the keyboard: a notification, an on-screen display
        desktop, ///< the background with its icons
    };

    std::string id; ///< the compositor's own
    std::optional<std::int32_t> pid;
    WindowWords words; ///< the Wayland application id is `kdeDesktopFile`; WM_CLASS only of an X11 window
    std::string title;
    LogicalRect frame; ///< what people see as the window, with a title bar, without shadows
    LogicalRect
        surface; ///< what the application draws: with its own shadows, without the compositor's title bar
    std::string parent; ///< the id of the window that it is a dialog or pop-up of; empty if there is none
    Kind kind = Kind::normal;
    bool isActive = false; ///< has the keyboard
    bool isMinimized = false;
    bool isOnScreen = false; ///< drawn on a monitor unless others cover it: mapped, not minimised, on a
                             ///< workspace that shows
    bool isAbove = false;    ///< kept above ordinary windows
    bool isFullScreen = false;
    bool isX11 = false; ///< shown by Xwayland
    bool operator==(CompositorWindow const&) const = default;
};

/// The windows of one moment.
struct WindowsNow {
    std::vector<CompositorWindow> windows; ///< back to front, minimised ones too
    /// Parts of the compositor's own interface that name an application: the title of a panel, a
    /// notification. Not windows: nothing can be done to them, but they may have to be left out of a picture.
    /// One without names and process shows an application that nobody knows any more.
    std::vector<CompositorWindow> chrome;
    std::optional<LogicalPoint> pointer; ///< `nullopt` if the compositor does not say
    /// The compositor's own interface covers the windows and has the keyboard: an overview, a switcher.
    bool isCovered = false;
    bool operator==(WindowsNow const&) const = default;
};

/// The windows of a compositor, and how one comes to the front.
/// Thread: any; one call at a time, further ones wait. Each blocks for some milliseconds and for at most half
/// a second. Made by: wayland/sway, wayland/kwin, wayland/shell, tests/fakes/FakeWindowSource.
class WindowSource {
public:
    virtual ~WindowSource() = default;
    /// Asks the compositor, so that nothing in the answer is older than the call. `nullopt` if it does not
    /// answer.
    virtual std::optional<WindowsNow> look() = 0;
    /// Calls the observer on the agent executor after each change of what look() gives, the pointer aside;
    /// some changes at once may give one call. Set at start and never changed.
    virtual void observe(std::function<void()> observer) = 0;
    /// Activates a window on any workspace. False if there is no such window or the compositor refuses.
    virtual bool activate(std::string const& id) = 0;
    /// Puts a window above all others, on every workspace, out of task bars, and activates it.
    virtual bool putInFront(std::string const& id) = 0;
};

} // namespace zelvo
