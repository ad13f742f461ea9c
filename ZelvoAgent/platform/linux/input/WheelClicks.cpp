#include "platform/linux/input/WheelClicks.h"

#include <algorithm>
#include <cstdlib>

namespace zelvo {

namespace {

constexpr std::int64_t pixelsPerClick = 53;
constexpr std::int64_t maxClicks = 200;

std::int64_t clicksFor(std::int64_t distance)
{
    std::int64_t const length = std::abs(distance);
    if (length == 0)
        return 0;
    return std::max<std::int64_t>(1, (2 * length + pixelsPerClick) / (2 * pixelsPerClick));
}

} // namespace

std::vector<WheelClicks> wheelClicks(ScrollEvent event)
{
    std::int64_t vertical = clicksFor(event.dy);
    std::int64_t horizontal = clicksFor(event.dx);
    if (std::int64_t const both = vertical + horizontal; both > maxClicks) {
        std::int64_t const share = (2 * maxClicks * vertical + both) / (2 * both); // Rounded.
        std::int64_t const least = vertical > 0 ? 1 : 0;
        std::int64_t const most = horizontal > 0 ? maxClicks - 1 : maxClicks;
        vertical = std::clamp(share, least, most);
        horizontal = maxClicks - vertical;
    }
    std::vector<WheelClicks> clicks;
    if (vertical > 0)
        clicks.push_back({static_cast<std::uint8_t>(event.dy > 0 ? 4 : 5), static_cast<int>(vertical)});
    if (horizontal > 0)
        clicks.push_back({static_cast<std::uint8_t>(event.dx > 0 ? 6 : 7), static_cast<int>(horizontal)});
    return clicks;
}

} // namespace zelvo
