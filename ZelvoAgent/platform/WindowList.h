#pragma once

#include "base/Geometry.h"
#include "platform/RunningApplication.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace zelvo {

/// A window that is on the screen.
struct WindowEntry {
    std::uint32_t id = 0;
    std::optional<std::int32_t> ownerPid;
    int layer = 0; ///< 8 for every window of this program; higher lies outside its own-window guard
    std::optional<DesktopRect> bounds; ///< without shadows
    ApplicationNames owner;            ///< who it belongs to, transient and embedded windows included
    bool operator==(WindowEntry const&) const = default;
};

/// The windows of the display server.
/// Thread: any; takes a few milliseconds.
/// Made by: platform/linux/x11/X11WindowList, tests/fakes/FakeWindowList.
class WindowList {
public:
    virtual ~WindowList() = default;
    /// Front to back, without desktops, windows that take no input and the window manager's own. Nothing when
    /// the list cannot be had.
    virtual std::optional<std::vector<WindowEntry>> windows() = 0;
};

} // namespace zelvo
