#include "platform/linux/input/ClickSpacing.h"

#include <algorithm>
#include <cmath>

namespace zelvo {

namespace {

constexpr double nearPoints = 5;

} // namespace

std::optional<Instant> ClickSpacing::earliest(DesktopPoint point, Duration doubleClickTime) const
{
    if (!last || std::hypot(point.x - last->point.x, point.y - last->point.y) > nearPoints)
        return std::nullopt;
    Instant due = last->when + doubleClickTime;
    // GTK takes a third press for a triple click up to twice the time after the first.
    if (last->clickState == 2 && beforeLast)
        due = std::max(due, *beforeLast + 2 * doubleClickTime);
    return due + 1ms; // Toolkits count in whole milliseconds.
}

void ClickSpacing::pressed(DesktopPoint point, int clickState, Instant when)
{
    beforeLast = last ? std::optional(last->when) : std::nullopt;
    last = Press{point, clickState, when};
}

} // namespace zelvo
