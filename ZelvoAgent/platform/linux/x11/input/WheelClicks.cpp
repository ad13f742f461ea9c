#include "platform/linux/x11/input/WheelClicks.h"

#include <algorithm>
#include <cstdlib>

namespace zelvo {

namespace {

constexpr std::int64_t pixelsPerClick = 53;
constexpr std::int64_t maxClicks = 200;

int clicksFor(std::int64_t distance)
{
    std::int64_t const length = std::abs(distance);
    std::int64_t const rounded = (2 * length + pixelsPerClick) / (2 * pixelsPerClick);
    return static_cast<int>(std::clamp<std::int64_t>(rounded, 1, maxClicks));
}

void add(std::vector<WheelClicks>& clicks,
         std::int32_t distance,
         std::uint8_t positive,
         std::uint8_t negative)
{
    if (distance != 0)
        clicks.push_back({distance > 0 ? positive : negative, clicksFor(distance)});
}

} // namespace

std::vector<WheelClicks> wheelClicks(ScrollEvent event)
{
    std::vector<WheelClicks> clicks;
    add(clicks, event.dy, 4, 5);
    add(clicks, event.dx, 6, 7);
    return clicks;
}

} // namespace zelvo
