#pragma once

#include "platform/linux/screen/ProcessWindow.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A rectangle as an application reports it. Unit and origin depend on the toolkit.
struct ReportedRect {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool operator==(ReportedRect const&) const = default;
};

/// A point in the same coordinates.
struct ReportedPoint {
    std::int32_t x = 0;
    std::int32_t y = 0;
    bool operator==(ReportedPoint const&) const = default;
};

/// A top-level element as its application reports it.
struct ReportedWindow {
    std::string title;     ///< the element's name
    ReportedRect onScreen; ///< its extents, relative to the window if the toolkit has no others
    bool operator==(ReportedWindow const&) const = default;
};

/// How reported coordinates become pixels of the root window: pixel = scale * reported + offset.
struct WindowFit {
    double scale = 1;
    double x = 0;
    double y = 0;
    bool exact = false; ///< the sizes agree exactly
    bool operator==(WindowFit const&) const = default;
};

/// Maps a top-level element to a window. The element may cover the window, the window with its frame, the
/// window without its shadows, or that without a title bar and borders that the application draws itself; its
/// unit may be larger than a pixel. `nullopt` if no sensible scale makes the sizes match. preferred  the
/// scale to try first
std::optional<WindowFit>
fitWindow(ReportedRect const& reported, ProcessWindow const& window, double preferred);

/// Finds each top-level element's window: by title, size and place, then by either, then in order. A window
/// belongs to one element at most.
/// Returns an index into `windows` for each element, `nullopt` for one without a window.
std::vector<std::optional<std::size_t>> matchWindows(std::vector<ReportedWindow> const& reported,
                                                     std::vector<ProcessWindow> const& windows,
                                                     double preferred);

} // namespace zelvo
