#pragma once

#include "platform/linux/x11/PixelRegion.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace zelvo {

/// What a picture takes from one window.
struct CapturePiece {
    std::size_t window = 0; ///< an index into the survey's windows
    PixelRegion visible;    ///< on the root window
    bool blends = false;    ///< has alpha that counts
    bool hasHoles = false;  ///< parts of it may not even be read
};

/// How a picture without some windows is put together.
struct CapturePlan {
    std::vector<CapturePiece> pieces; ///< back to front
    PixelRegion background;           ///< where no window is left
};

/// What is left out of a picture.
struct CaptureExclusion {
    std::vector<bool> windows;                 ///< by index: left out whole
    std::vector<std::vector<PixelRect>> holes; ///< by index: parts of windows that stay
    bool isAny() const;
};

/// Which windows of a survey go by one of the excluded names, and which have clients inside that do.
/// named: tells whether a client does.
CaptureExclusion excludedWindows(WindowSurvey const& survey,
                                 std::function<bool(ClientWindow const&)> const& named);

/// display: on the root window. alphaCounts: a compositing manager is there; without one the server shows
/// windows with alpha as if they had none.
CapturePlan planCapture(WindowSurvey const& survey,
                        CaptureExclusion const& exclusion,
                        PixelRect const& display,
                        bool alphaCounts);

} // namespace zelvo
