#include "platform/linux/x11/capture/ShownWindows.h"

#include "platform/linux/x11/capture/StalePixelTracker.h"

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

bool ShownWindows::notePlace(std::uint32_t window, PixelRect const& area)
{
    Place& place = places[window];
    if (place.area == area)
        return false;
    bool const isResized = place.area.width != area.width || place.area.height != area.height;
    noteLeft(window, place);
    place.area = area;
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

std::set<std::uint32_t> ShownWindows::below(std::uint32_t window)
{
    PixelRect const area = places[window].area;
    std::erase_if(left, [](Left const& one) { return one.until < std::chrono::steady_clock::now(); });
    std::set<std::uint32_t> found;
    if (area.isEmpty())
        found.insert(StalePixelTracker::unknown);
    auto const add = [&](std::uint32_t other, PixelRect const& place) {
        if (!intersection(area, inflated(place)).isEmpty())
            found.insert(other);
    };
    for (auto const& [other, place] : places)
        if (other != window && place.isMapped && !isKept(other))
            add(other, place.area);
    for (Left const& one : left)
        if (one.window != window)
            add(one.window, one.area);
    return found;
}

std::set<std::uint32_t> ShownWindows::mapped() const
{
    std::set<std::uint32_t> found;
    for (auto const& [window, place] : places)
        if (place.isMapped)
            found.insert(window);
    return found;
}

void ShownWindows::noteLeft(std::uint32_t window, Place const& place)
{
    if (!place.isMapped || isKept(window))
        return;
    left.push_back({window, place.area, std::chrono::steady_clock::now() + fading});
    if (left.size() <= maxLeft)
        return;
    // One that moves all the time: its places together.
    PixelRegion areas;
    for (Left const& one : left)
        areas.add(one.area);
    left = {{StalePixelTracker::unknown, areas.bounds(), left.back().until}};
}

} // namespace zelvo
