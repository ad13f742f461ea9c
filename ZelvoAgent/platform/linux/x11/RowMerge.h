#pragma once

#include "platform/linux/x11/PixelRegion.h"

#include <vector>

/// Two sets of rectangles, in each of which no two overlap, combined row by row, where a row is as high as
/// nothing changes: the cost grows with the number of rectangles, not with its square.
namespace zelvo::rows {

/// What of the first lies in the second.
std::vector<PixelRect> inside(std::vector<PixelRect> const& own, std::vector<PixelRect> const& other);
/// What of the first does not lie in the second.
std::vector<PixelRect> outside(std::vector<PixelRect> const& own, std::vector<PixelRect> const& other);

} // namespace zelvo::rows
