#pragma once

#include <cstdint>

namespace zelvo {

class X11Connection;

/// The window that the window manager calls active; 0 when it names none.
std::uint32_t activeWindowOf(X11Connection const& connection);
/// The window that keys go to; 0 when they go to none, or to whatever the pointer is over.
std::uint32_t focusedWindowOf(X11Connection const& connection);
/// The same where the focus follows the pointer: the child of the root window under it.
std::uint32_t keyboardWindowOf(X11Connection const& connection);
/// 0 for the root window and for one that has gone.
std::uint32_t parentOf(X11Connection const& connection, std::uint32_t window);

} // namespace zelvo
