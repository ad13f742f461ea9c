#pragma once

#include "platform/EventPosting.h"

#include <cstdint>
#include <vector>

namespace zelvo {

/// Clicks of one wheel direction, which X11 knows as a button: 4 up, 5 down, 6 left, 7 right.
struct WheelClicks {
    std::uint8_t button = 0;
    int count = 0;
    bool operator==(WheelClicks const&) const = default;
};

/// The wheel clicks for a distance in pixels: 53 to a click, rounded half away from zero, at least one for
/// any distance. Both directions together have at most 200, shared in proportion to their distances. The
/// vertical ones come first; a direction without distance is left out.
std::vector<WheelClicks> wheelClicks(ScrollEvent event);

} // namespace zelvo
