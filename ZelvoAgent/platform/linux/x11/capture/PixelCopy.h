#pragma once

#include "platform/ScreenSource.h"
#include "platform/linux/x11/PixelRegion.h"

#include <cstdint>
#include <span>

namespace zelvo {

/// Rows of pixels somewhere in memory, 4 bytes each, without gaps between the rows.
struct PixelSource {
    std::uint8_t const* pixels = nullptr;
    PixelRect area; ///< what they show, in the coordinates of the picture
};

/// Puts a part of the source into the picture; what lies outside of either is left out.
void copyPixels(Picture& picture, PixelSource const& source, PixelRect const& part);
/// The same, laid over the picture by its alpha, which the colours are multiplied by already.
void blendPixels(Picture& picture, PixelSource const& source, PixelRect const& part);

} // namespace zelvo
