#include "platform/linux/wayland/windows/ElementWindows.h"

#include "platform/linux/applications/WindowTitle.h"

#include <algorithm>
#include <cmath>
#include <ranges>

namespace zelvo {

namespace {

/// Far outside of any screen, so that nothing overflows; no number becomes 0.
int whole(double edge)
{
    return std::isnan(edge) ? 0 : static_cast<int>(std::lround(std::clamp(edge, -1e6, 1e6)));
}

PixelRect whole(LogicalRect const& rect)
{
    int const left = whole(rect.x);
    int const top = whole(rect.y);
    return {left, top, whole(rect.x + rect.width) - left, whole(rect.y + rect.height) - top};
}

/// The shadows: what the application draws outside of what people see as the window.
std::array<int, 4> extentsOf(PixelRect const& surface, PixelRect const& frame)
{
    return {std::max(0, frame.x - surface.x), std::max(0, surface.right() - frame.right()),
            std::max(0, frame.y - surface.y), std::max(0, surface.bottom() - frame.bottom())};
}

} // namespace

std::vector<ProcessWindow> elementWindows(WindowSnapshot const& snapshot, std::int32_t pid)
{
    std::vector<ProcessWindow> found;
    for (CompositorWindow const& window : std::views::reverse(snapshot.windows().windows)) {
        if (window.pid != pid || !window.isOnScreen)
            continue;
        PixelRect const surface = whole(window.surface);
        PixelRect const frame = whole(window.frame);
        found.push_back({.id = snapshot.idOf(window),
                         .title = boundedTitle(window.title),
                         .inner = surface,
                         .outer = frame,
                         .frameExtents = extentsOf(surface, frame),
                         .overrideRedirect = window.kind == CompositorWindow::Kind::popup});
    }
    return found;
}

std::vector<DisplayLayout> elementDisplays(MonitorLayout const& layout)
{
    std::vector<DisplayLayout> displays;
    for (Monitor const& monitor : layout.monitors) {
        PixelRect const area = whole(monitor.area);
        displays.push_back({.displayId = monitor.id,
                            .origin = {area.x, area.y},
                            .widthPixels = area.width,
                            .heightPixels = area.height});
    }
    return displays;
}

} // namespace zelvo
