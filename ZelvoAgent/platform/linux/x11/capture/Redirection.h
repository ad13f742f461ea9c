#pragma once

namespace zelvo {

class X11Connection;
class WindowWatch;

/// Makes the server keep every child of the root in separate memory while the connection lives. That memory
/// starts as a copy of the screen, including whatever covered the window; those parts are marked stale in
/// `watch`. Blocks for some round trips with the server grabbed.
void redirectWindows(X11Connection const& connection, WindowWatch& watch);

} // namespace zelvo
