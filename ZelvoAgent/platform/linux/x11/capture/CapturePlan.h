#pragma once

#include "platform/linux/screen/PixelRegion.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace zelvo {

/// One window's part of a picture.
struct CapturePiece {
    std::size_t window = 0; ///< an index into the survey's windows
    PixelRegion visible;    ///< on the root window
    bool blends = false;    ///< has alpha that matters
    bool hasHoles = false;  ///< some parts must not even be read
};

/// How to compose a picture without some windows.
struct CapturePlan {
    std::vector<CapturePiece> pieces; ///< back to front
    PixelRegion background;           ///< not covered by any window of the picture
};

/// What a picture leaves out.
struct CaptureExclusion {
    std::vector<bool> windows;                 ///< by index: whole windows
    std::vector<std::vector<PixelRect>> holes; ///< by index: parts of windows that stay
    /// By index: where excluded applications choose the pointer's image, also in input-only windows.
    std::vector<std::vector<PixelRect>> pointers;
    bool isAny() const;
};

/// Where the pointer is.
struct PointerPlace {
    int x = 0; ///< on the root window
    int y = 0;
    std::uint32_t window = 0; ///< the child of the root under it; 0 if none
    bool isPressed = false;   ///< a button is held
};

/// The windows of a survey that belong to an excluded application, and those with an embedded client that
/// does.
/// named  whether a client belongs to an excluded application
CaptureExclusion excludedWindows(WindowSurvey const& survey,
                                 std::function<bool(ClientWindow const&)> const& named);

/// Leaves out the frames of clients that are gone: one keeps its client's pixels until the window manager
/// removes it.
/// hasHeldClient  whether a window has ever framed a client's
void leaveOutEmptyFrames(WindowSurvey const& survey,
                         CaptureExclusion& exclusion,
                         std::function<bool(std::uint32_t)> const& hasHeldClient);

/// Whether the pointer's image may be an excluded application's. While a button is held, it may be that of
/// any application with a window: of the one where the button was pressed. own  this program's process id;
/// its own windows, although excluded, have no secret image
bool isPointerExcluded(WindowSurvey const& survey,
                       CaptureExclusion const& exclusion,
                       PointerPlace const& pointer,
                       std::int32_t own);

/// Windows whose shapes have thousands of parts are left out.
/// display      on the root window
/// alphaCounts  true if a compositing manager runs; without one the server ignores windows' alpha
CapturePlan planCapture(WindowSurvey const& survey,
                        CaptureExclusion const& exclusion,
                        PixelRect const& display,
                        bool alphaCounts);

} // namespace zelvo
