#pragma once

#include "desktop/harness/Painter.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelvo::test {

/// A picture as numbers: three bytes a pixel, red first, row by row.
struct Pixels {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> bytes;
};

/// Reads a JPEG or PNG file. Throws std::runtime_error when it is none.
Pixels pixelsOf(std::string const& file, std::string const& mime);
/// What the display server shows, all windows included, without the pointer.
Pixels pixelsOfRoot(xcb_connection_t* connection);
/// How many pixels differ by more than `tolerance` in a channel, those of one area left out; all of them when
/// the sizes differ.
int differences(Pixels const& first, Pixels const& second, PaintedArea leftOut, int tolerance);

} // namespace zelvo::test
