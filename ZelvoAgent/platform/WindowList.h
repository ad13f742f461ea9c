#pragma once

#include "base/Geometry.h"
#include "platform/RunningApplication.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A part of a window that shows another application: a client embedded in it.
struct EmbeddedEntry {
    DesktopRect bounds;
    ApplicationNames owner;
    std::optional<std::int32_t> ownerPid = {};
    bool operator==(EmbeddedEntry const&) const = default;
};

/// A window that is on the screen.
struct WindowEntry {
    std::uint32_t id = 0;
    std::optional<std::int32_t> ownerPid;
    int layer = 0; ///< 8 for every window of this program; higher lies outside its own-window guard
    std::optional<DesktopRect> bounds; ///< without shadows
    /// Where it takes the pointer, when that is not all of its bounds.
    std::optional<std::vector<DesktopRect>> parts = {};
    ApplicationNames owner; ///< who it belongs to, and whose windows it is transient for
    std::vector<EmbeddedEntry> embedded = {};
    std::string ownerName = {}; ///< of the process's application, in the desktop's language; empty: not known
    std::string title = {};     ///< bounded; empty without one
    bool operator==(WindowEntry const&) const = default;

    /// Whether the pointer at this point is on this window, as far as no other lies over it.
    bool isUnder(DesktopPoint point) const
    {
        auto const hit = [&](DesktopRect const& rect) { return rect.contains(point); };
        return bounds && hit(*bounds) && (!parts || std::ranges::any_of(*parts, hit));
    }
    /// The names of the application that it belongs to, and of those embedded in it at this point.
    ApplicationNames namesAt(DesktopPoint point) const
    {
        ApplicationNames all = owner;
        for (EmbeddedEntry const& inside : embedded)
            if (inside.bounds.contains(point))
                all.names.insert(all.names.end(), inside.owner.names.begin(), inside.owner.names.end());
        return all;
    }
};

/// The windows of the display server.
/// Thread: any; takes a few milliseconds.
/// Made by: platform/linux/x11/windows/X11WindowList, tests/fakes/FakeWindowList.
class WindowList {
public:
    virtual ~WindowList() = default;
    /// Front to back, without desktops, windows that take no input and the window manager's own. Nothing when
    /// the list cannot be had.
    virtual std::optional<std::vector<WindowEntry>> windows() = 0;
};

} // namespace zelvo
