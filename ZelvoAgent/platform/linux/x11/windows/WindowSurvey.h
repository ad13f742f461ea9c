#pragma once

#include "platform/linux/applications/ClientWindow.h"
#include "platform/linux/screen/PixelRegion.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace zelvo {

class X11Connection;

/// A client's window inside another client's.
struct EmbeddedWindow {
    ClientWindow client;
    PixelRect area;  ///< on the root window
    PixelRect place; ///< in its parent; both with its border
};

/// A child of the root window.
struct SurveyedWindow {
    std::uint32_t id = 0;
    bool viewable = false;
    bool inputOnly = false;
    bool overrideRedirect = false;
    bool managed = false;        ///< a window with WM_STATE is it or inside it
    bool windowManagers = false; ///< the window manager's own, no frame; docks may have clients embedded
    bool desktop = false;
    bool dock = false;
    bool above = false;
    bool emptyInputShape = false;
    bool shaped = false;
    std::uint8_t depth = 0;
    PixelRect area; ///< border included, on the root window
    int border = 0;
    PixelRegion shape;                 ///< on the root window; when `shaped`
    std::optional<PixelRegion> input;  ///< on the root window; where it takes the pointer, when it says so
    std::array<int, 4> frameExtents{}; ///< shadows inside the window: left, right, top, bottom
    ClientWindow client;               ///< the window with WM_STATE, else the window itself
    std::vector<EmbeddedWindow> embedded;
    bool hasUnknownInside = false; ///< too many windows in it to find all that are embedded
};

/// The windows of the server at one moment.
struct WindowSurvey {
    std::vector<SurveyedWindow> windows; ///< the children of the root, bottom to top
    std::vector<ClientWindow>
        others; ///< that are not on the screen: minimised ones, and whom others are transient for
    std::vector<ClientWindow> leaders; ///< of groups of windows, which are none of the above
    /// Windows whose properties and children the survey rests on.
    std::vector<std::uint32_t> watched;
};

/// Looks at all windows. Blocks for about eight round trips, whatever their number; empty when the server is
/// gone. The answers belong together only while the server is grabbed.
WindowSurvey surveyWindows(X11Connection const& connection);

} // namespace zelvo
