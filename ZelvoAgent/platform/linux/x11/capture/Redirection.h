#pragma once

namespace zelvo {

class X11Connection;
class WindowWatch;

/// Has the server keep every window on the root in memory of its own for as long as the connection lives.
/// That memory begins as a copy of the screen, with what lay over each window in it: the watch is told of
/// those parts. Blocks for some round trips, during which the server serves nobody else.
void redirectWindows(X11Connection const& connection, WindowWatch& watch);

} // namespace zelvo
