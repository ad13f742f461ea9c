#include "platform/linux/x11/capture/ShownWindows.h"

#include <cstddef>

namespace zelvo {

namespace {

/// How long the screen may still show a window that has left its place, and how far around a window a
/// compositing manager may show something of it.
constexpr std::chrono::seconds fading{1};
constexpr int halo = 64;
constexpr std::size_t maxLeft = 64;

PixelRect inflated(PixelRect const& rect)
{
    return {rect.x - halo, rect.y - halo, rect.width + 2 * halo, rect.height + 2 * halo};
}

} // namespace

bool ShownWindows::notePlace(std::uint32_t window, PixelRect const& area, int border)
{
    Place& place = places[window];
    if (place.area == area && place.border == border)
        return false;
    bool const isResized = place.area.width != area.width || place.area.height != area.height;
    noteLeft(window, place);
    place.area = area;
    place.border = border;
    return place.isMapped && isResized;
}

void ShownWindows::noteUnmapped(std::uint32_t window)
{
    auto const found = places.find(window);
    if (found == places.end())
        return;
    noteLeft(window, found->second);
    found->second.isMapped = false;
}

void ShownWindows::noteEnd(std::uint32_t window)
{
    places.erase(window);
    kept.erase(window);
}

void ShownWindows::set(std::uint32_t window, PixelRect const& area, int border)
{
    places[window] = {area, border, true};
}

PixelRect ShownWindows::area(std::uint32_t window) const
{
    auto const found = places.find(window);
    return found == places.end() ? PixelRect{} : found->second.area;
}

PixelRect ShownWindows::inner(std::uint32_t window) const
{
    auto const found = places.find(window);
    if (found == places.end())
        return {};
    auto const& [area, border, isMapped] = found->second;
    return {area.x + border, area.y + border, area.width - 2 * border, area.height - 2 * border};
}

PixelRegion ShownWindows::suspects(std::uint32_t window, std::uint32_t ignored)
{
    PixelRegion found;
    for (auto const& [other, place] : places)
        if (other != window && other != ignored && place.isMapped && !isKept(other))
            found.add(inflated(place.area));
    std::erase_if(left, [](Left const& one) { return one.until < std::chrono::steady_clock::now(); });
    for (Left const& one : left)
        found.add(inflated(one.area));
    return found;
}

void ShownWindows::noteLeft(std::uint32_t window, Place const& place)
{
    if (!place.isMapped || isKept(window))
        return;
    left.push_back({place.area, std::chrono::steady_clock::now() + fading});
    if (left.size() <= maxLeft)
        return;
    // One that moves all the time: its places together.
    PixelRegion areas;
    for (Left const& one : left)
        areas.add(one.area);
    left = {{areas.bounds(), left.back().until}};
}

} // namespace zelvo
