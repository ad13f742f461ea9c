#pragma once

#include "platform/linux/x11/PixelRegion.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace zelvo {

class X11Connection;
struct WindowSurvey;

/// A window that a process has on the screen.
struct ProcessWindow {
    std::uint32_t id = 0;
    std::string title;                 ///< _NET_WM_NAME, else WM_NAME
    PixelRect inner;                   ///< the process's own window on the root window, without its border
    PixelRect outer;                   ///< with the window manager's frame
    std::array<int, 4> frameExtents{}; ///< shadows inside `inner`: left, right, top, bottom
    bool overrideRedirect = false;     ///< a menu, a tooltip, a list that dropped down
    bool takesPointer = true;
    bool operator==(ProcessWindow const&) const = default;
};

/// The windows of a process that are mapped, those embedded in other processes' windows too, front to back.
/// Blocks for a round trip; empty when the server is gone.
std::vector<ProcessWindow>
processWindows(X11Connection const& connection, WindowSurvey const& survey, std::int32_t pid);

} // namespace zelvo
