#pragma once

#include "base/Geometry.h"
#include "platform/ScreenSource.h"

namespace zelvo {

/// A part of the main display that an agent asked for: clipped to the display, and grown to whole pixels.
struct ScreenRegion {
    DesktopRect points; ///< exactly what the pixels show
    DisplayPart pixels;
    bool operator==(ScreenRegion const&) const = default;

    /// Throws AgentError::invalidRequest if no pixel of the display is in `wanted`.
    static ScreenRegion of(Display const& display, DesktopRect const& wanted);
};

} // namespace zelvo
