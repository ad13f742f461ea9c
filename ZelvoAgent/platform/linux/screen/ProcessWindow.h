#pragma once

#include "platform/linux/screen/PixelRegion.h"

#include <array>
#include <cstdint>
#include <string>

namespace zelvo {

/// A window that a process has on the screen. Its places are pixels of the X server's root window, or points
/// of the compositor's own coordinates in a Wayland session.
struct ProcessWindow {
    std::uint32_t id = 0;
    std::string title;
    PixelRect inner;                   ///< what the process draws, without a border
    PixelRect outer;                   ///< with the window manager's frame
    std::array<int, 4> frameExtents{}; ///< shadows inside `inner`: left, right, top, bottom
    bool overrideRedirect = false;     ///< a menu, a tooltip, a list that dropped down
    bool takesPointer = true;
    bool operator==(ProcessWindow const&) const = default;
};

} // namespace zelvo
