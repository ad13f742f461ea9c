#pragma once

#include <vector>

namespace zelvo {

class WindowWatch;
class X11Connection;
struct SurveyedWindow;

/// Finds out which stale parts of these windows are drawn already, and lets their applications draw the
/// others. A window with a background counts as drawn: the server painted it when the window appeared. One
/// pixel of each is cleared to see whether it has one, which its application repairs. To a window without a
/// background the server sends an expose event, which changes no pixel; it counts when its application has
/// drawn. Call it with the server grabbed. Blocks for a few round trips.
void requestDrawing(X11Connection const& connection,
                    WindowWatch& watch,
                    std::vector<SurveyedWindow const*> const& windows);

} // namespace zelvo
