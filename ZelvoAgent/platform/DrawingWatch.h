#pragma once

#include "base/Geometry.h"
#include "base/Task.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zelvo {

/// Follows what is drawn on a display. Destroying it ends that. Thread: any; one call at a time.
class DrawingWatch {
public:
    virtual ~DrawingWatch() = default;
    /// Where pictures without the excluded applications may have changed since the last call, or since the
    /// watch was opened. The pointer does not count.
    /// Gives   areas in points of the display, clipped to it; they may overlap
    /// Throws  ScreenFailure if the screen system is gone
    virtual Task<std::vector<DesktopRect>> take(std::set<std::string> excluded) = 0;
};

/// Opens watches. Without one nothing is followed, and with one a display at rest costs nothing.
/// Thread: any. Made by: platform/linux/x11/capture/X11DrawingWatches, tests/fakes/FakeDrawingWatches.
class DrawingWatches {
public:
    virtual ~DrawingWatches() = default;
    /// drawn   called on the agent executor when take() may have something to give, and then not again before
    ///         take(). It may still be called once after the watch is destroyed
    /// Throws  ScreenFailure
    virtual Task<std::unique_ptr<DrawingWatch>>
    open(std::uint32_t display, std::set<std::string> excluded, std::function<void()> drawn) = 0;
};

} // namespace zelvo
