#pragma once

#include "platform/linux/screen/PixelRegion.h"

#include <vector>

/// Combines two sets of rectangles row by row. A row ends where a rectangle begins or ends, so the cost grows
/// with the number of rectangles, not with its square. The rectangles of one set must not overlap.
namespace zelvo::rows {

/// The part of the first set that is inside the second.
std::vector<PixelRect> inside(std::vector<PixelRect> const& own, std::vector<PixelRect> const& other);
/// The part of the first set that is outside the second.
std::vector<PixelRect> outside(std::vector<PixelRect> const& own, std::vector<PixelRect> const& other);

} // namespace zelvo::rows
