#pragma once

#include "desktop/harness/Painter.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelvo::test {

/// A picture as numbers: three bytes per pixel, red first, row by row.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;
};

/// Reads a JPEG or PNG file. Throws std::runtime_error if it is neither.
Pixels pixelsOf(std::string const& file, std::string const& mime);
/// The content of the root window, all windows included, without the pointer.
Pixels pixelsOfRoot(xcb_connection_t* connection);
/// Number of pixels that differ by more than `tolerance` in a channel, outside one area; all of them if the
/// sizes differ.
int differences(Pixels const& first, Pixels const& second, PaintedArea leftOut, int tolerance);

} // namespace zelvo::test
