#pragma once

#include "base/Geometry.h"

#include <cstdint>
#include <vector>

namespace zelvo {

struct OverlayPicture;

/// How a picture in pixels fits a surface, whose place and size are whole points.
struct OverlayFit {
    int left = 0; ///< the surface's place on its output, in points
    int top = 0;
    int width = 0; ///< its size in points
    int height = 0;
    int bufferWidth = 0; ///< its size in pixels
    int bufferHeight = 0;
    int shiftX = 0; ///< where in the buffer the picture begins
    int shiftY = 0;
    bool operator==(OverlayFit const&) const = default;

    /// Whether a surface that was drawn for another fit needs to be moved only.
    bool looksLike(OverlayFit const& other) const;
};

/// Puts the picture's origin on the pixel of a place. Pure. Thread: any.
/// place  in points from the output's top left
/// scale  pixels per point
OverlayFit fitOverlay(OverlayPicture const& picture, DesktopPoint place, double scale);

} // namespace zelvo
