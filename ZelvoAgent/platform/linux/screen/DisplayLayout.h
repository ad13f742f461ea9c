#pragma once

#include "base/Geometry.h"

#include <cmath>
#include <cstdint>

namespace zelvo {

/// A point of the X screen, in pixels of the root window.
struct PixelPoint {
    int x{};
    int y{};
    bool operator==(PixelPoint const&) const = default;
};

/// The main display's place on the X screen and its pixels per point: converts between points and pixels.
struct DisplayLayout {
    std::uint32_t displayId = 1; ///< the XID of the main monitor's first output, else 1
    PixelPoint origin;           ///< the main display's top left
    int widthPixels = 0;         ///< 0 if there is no display
    int heightPixels = 0;
    double scale = 1; ///< Xft.dpi / 96, at least 1
    double density =
        1; ///< real pixels per pixel of this layout, if its pixels are points of a scaled monitor
    bool operator==(DisplayLayout const&) const = default;

    /// The pixel that contains a point. The only place that rounds; coordinates are clamped to 16 bits.
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
