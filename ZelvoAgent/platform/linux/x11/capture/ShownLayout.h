#pragma once

#include "platform/linux/screen/PixelRegion.h"
#include "platform/linux/x11/capture/CapturePlan.h"
#include "platform/linux/x11/windows/WindowSurvey.h"

#include <cstdint>
#include <map>
#include <vector>

namespace zelvo {

/// What pictures show of which window, and where the windows are that they leave out.
struct ShownLayout {
    /// A window in pictures.
    struct Shown {
        PixelRect area;      ///< on the root window, border included
        int border = 0;      ///< drawing is reported relative to the inside of the border
        PixelRegion visible; ///< on the root window
    };
    /// A window that is left out.
    struct LeftOut {
        PixelRect area;
        std::vector<PixelRect> shape; ///< empty if it has none
        bool operator==(LeftOut const&) const = default;
    };

    std::map<std::uint32_t, Shown> shown;     ///< by window
    std::map<std::uint32_t, LeftOut> leftOut; ///< by window

    /// display      on the root window
    /// alphaCounts  true if a compositing manager runs
    static ShownLayout of(WindowSurvey const& survey,
                          CaptureExclusion const& exclusion,
                          PixelRect const& display,
                          bool alphaCounts);

    /// Where windows have appeared, disappeared, moved or been uncovered since `before`.
    std::vector<PixelRect> changesSince(ShownLayout const& before) const;
    /// Where windows that are left out were or are, if that has changed since `before`.
    PixelRegion leftOutChangesSince(ShownLayout const& before) const;
};

} // namespace zelvo
