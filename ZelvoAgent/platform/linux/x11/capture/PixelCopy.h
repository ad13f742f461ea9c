#pragma once

#include "platform/ScreenSource.h"
#include "platform/linux/screen/PixelRegion.h"

#include <cstdint>
#include <span>

namespace zelvo {

/// Pixels in memory, 4 bytes each, without gaps between the rows.
struct PixelSource {
    std::uint8_t const* pixels = nullptr;
    PixelRect area; ///< in the coordinates of the picture
};

/// Copies a part of the source into the picture, clipped to both.
void copyPixels(Picture& picture, PixelSource const& source, PixelRect const& part);
/// The same with alpha blending; the source's colours are premultiplied.
void blendPixels(Picture& picture, PixelSource const& source, PixelRect const& part);

} // namespace zelvo
