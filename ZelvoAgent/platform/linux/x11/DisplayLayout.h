#pragma once

#include "base/Geometry.h"

#include <cmath>
#include <cstdint>

namespace zelvo {

/// A place on the X screen, in pixels of the root window.
struct PixelPoint {
    int x{};
    int y{};
    bool operator==(PixelPoint const&) const = default;
};

/// Where the main display lies on the X screen, and how many pixels a point has: what turns points into
/// pixels and back.
struct DisplayLayout {
    std::uint32_t displayId = 1; ///< the XID of the main monitor's first output, else 1
    PixelPoint origin;           ///< the main display's top left
    int widthPixels = 0;         ///< 0 when there is no display
    int heightPixels = 0;
    double scale = 1; ///< Xft.dpi / 96, at least 1
    bool operator==(DisplayLayout const&) const = default;

    /// The pixel that a point lies in. The one place that rounds; a point beyond 16 bits stays at their edge.
    PixelPoint toPixels(DesktopPoint point) const
    {
        return {pixel(point.x, origin.x), pixel(point.y, origin.y)};
    }
    DesktopPoint toPoints(PixelPoint pixel) const
    {
        return {(pixel.x - origin.x) / scale, (pixel.y - origin.y) / scale};
    }

private:
    int pixel(double points, int start) const
    {
        double const pixels = std::floor(points * scale) + start;
        if (std::isnan(pixels))
            return 0;
        return static_cast<int>(std::fmin(std::fmax(pixels, -32768), 32767));
    }
};

} // namespace zelvo
