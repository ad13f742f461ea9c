#pragma once

#include "platform/ScreenSource.h"

#include <vector>

namespace zelvo {

/// Where two pictures of the same size differ: areas without overlap, found in squares of 32 pixels. The
/// whole picture if the sizes differ.
std::vector<DisplayPart> differenceOf(Picture const& before, Picture const& after);

} // namespace zelvo
