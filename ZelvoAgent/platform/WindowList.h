#pragma once

#include "base/Geometry.h"
#include "platform/ApplicationNames.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A part of a window that shows another application's embedded client.
struct EmbeddedEntry {
    DesktopRect bounds;
    ApplicationNames owner;
    std::optional<std::int32_t> ownerPid = {};
    bool operator==(EmbeddedEntry const&) const = default;
};

/// A visible window.
struct WindowEntry {
    std::uint32_t id = 0;
    std::optional<std::int32_t> ownerPid;
    int layer = 0; ///< 8 for every window of this program; higher layers are outside its own-window guard
    std::optional<DesktopRect> bounds; ///< without shadows
    /// The areas that take the pointer, if not all of its bounds do.
    std::optional<std::vector<DesktopRect>> parts = {};
    ApplicationNames owner; ///< of the application that it belongs to
    std::vector<EmbeddedEntry> embedded = {};
    std::string ownerName = {}; ///< of its application, in the desktop's language; empty: not known
    std::string title = {};     ///< bounded; empty without one
    bool isDesktop = false;     ///< the desktop itself, with its icons: no window to people
    bool operator==(WindowEntry const&) const = default;

    /// Whether the pointer at this point is on this window, windows above it aside.
    bool isUnder(DesktopPoint point) const
    {
        auto const hit = [&](DesktopRect const& rect) { return rect.contains(point); };
        return bounds && hit(*bounds) && (!parts || std::ranges::any_of(*parts, hit));
    }
    /// The names of the application that it belongs to, hidden with those embedded in it at this point.
    ApplicationNames namesAt(DesktopPoint point) const
    {
        ApplicationNames all = owner;
        for (EmbeddedEntry const& inside : embedded)
            if (inside.bounds.contains(point))
                all.hideWith(inside.owner);
        return all;
    }
};

/// The windows of the display server.
/// Thread: any; takes a few milliseconds.
/// Made by: platform/linux/x11/windows/X11WindowList, tests/fakes/FakeDesktop.h.
class WindowList {
public:
    virtual ~WindowList() = default;
    /// Front to back, without windows that take no input, and without those of the window manager's own that
    /// have no client embedded. `nullopt` if the list cannot be read. Throws AgentError::machineUnavailable
    /// instead where something may be on the screen all the same.
    virtual std::optional<std::vector<WindowEntry>> windows() = 0;
};

} // namespace zelvo
