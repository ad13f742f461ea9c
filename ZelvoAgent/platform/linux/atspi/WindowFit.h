#pragma once

#include "platform/linux/x11/windows/ProcessWindows.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A rectangle as an application tells it. Unit and origin are the toolkit's affair.
struct ReportedRect {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(ReportedRect const&) const = default;
};

/// A place in the same terms.
struct ReportedPoint {
    std::int32_t x = 0;
    std::int32_t y = 0;
    bool operator==(ReportedPoint const&) const = default;
};

/// A top-level element, as its application tells it.
struct ReportedWindow {
    std::string title;     ///< the element's name
    ReportedRect onScreen; ///< its extents, in coordinates of type window if the toolkit has no others
    bool operator==(ReportedWindow const&) const = default;
};

/// How reported coordinates become pixels of the root window: pixel = scale * reported + offset.
struct WindowFit {
    double scale = 1;
    double x = 0;
    double y = 0;
    bool exact = false; ///< the sizes agree, with nothing left over
    bool operator==(WindowFit const&) const = default;
};

/// Lays a top-level element over a window. The element may stand for the window itself, for the window with
/// its frame, or for the window without the shadows in it; its unit may be larger than a pixel. Nothing when
/// no sensible scale makes the sizes alike.
/// preferred: the scale that is tried first
std::optional<WindowFit>
fitWindow(ReportedRect const& reported, ProcessWindow const& window, double preferred);

/// Finds each top-level element's window, by title and size and place, then by either, then in order. No
/// window stands for two elements.
/// Gives an index into `windows` for each element, nothing for one without a window
std::vector<std::optional<std::size_t>> matchWindows(std::vector<ReportedWindow> const& reported,
                                                     std::vector<ProcessWindow> const& windows,
                                                     double preferred);

} // namespace zelvo
