#include "drivers/QuietScreen.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace zelvo {

namespace {

/// More areas at once are a change of the screen, whatever their sizes.
constexpr std::size_t maxAreas = 200;
constexpr std::size_t maxPlaces = 64;

bool touches(DesktopRect const& left, DesktopRect const& right)
{
    return left.x <= right.x + right.width && right.x <= left.x + left.width &&
           left.y <= right.y + right.height && right.y <= left.y + left.height;
}

bool overlaps(DesktopRect const& left, DesktopRect const& right)
{
    return left.x < right.x + right.width && right.x < left.x + left.width &&
           left.y < right.y + right.height && right.y < left.y + left.height;
}

bool covers(DesktopRect const& outer, DesktopRect const& inner)
{
    return inner.x >= outer.x && inner.y >= outer.y && inner.x + inner.width <= outer.x + outer.width &&
           inner.y + inner.height <= outer.y + outer.height;
}

DesktopRect around(DesktopRect const& left, DesktopRect const& right)
{
    double const x = std::min(left.x, right.x);
    double const y = std::min(left.y, right.y);
    return {x, y, std::max(left.x + left.width, right.x + right.width) - x,
            std::max(left.y + left.height, right.y + right.height) - y};
}

/// The rectangles around areas that touch each other. A screen system cuts what is drawn into bands, each of
/// which may be small.
std::vector<DesktopRect> joined(std::vector<DesktopRect> const& areas)
{
    std::vector<DesktopRect> groups;
    for (DesktopRect next : areas)
        // A group that grew may touch further ones.
        for (auto other = groups.begin();; other = groups.begin()) {
            other =
                std::find_if(other, groups.end(), [&](auto const& group) { return touches(group, next); });
            if (other == groups.end()) {
                groups.push_back(next);
                break;
            }
            next = around(*other, next);
            groups.erase(other);
        }
    return groups;
}

} // namespace

QuietScreen::QuietScreen(Settings settings, Instant start) : settings(std::move(settings)), lastDrawing(start)
{
}

void QuietScreen::note(std::vector<DesktopRect> const& areas, Instant now)
{
    std::vector<DesktopRect> inside;
    std::ranges::copy_if(areas, std::back_inserter(inside), [this](DesktopRect const& area) {
        return area.width > 0 && area.height > 0 && (!settings.region || overlaps(area, *settings.region));
    });
    if (inside.size() > maxAreas) {
        lastDrawing = now;
        return;
    }
    // Every drawing is looked at, for all of them are remembered.
    for (DesktopRect const& drawing : joined(inside))
        if (counts(drawing))
            lastDrawing = now;
}

bool QuietScreen::counts(DesktopRect const& drawing)
{
    if (!isSmall(drawing))
        return true;
    if (std::ranges::any_of(places, [&](DesktopRect const& place) { return covers(place, drawing); }))
        return false;
    remember(drawing);
    return true;
}

bool QuietScreen::isSmall(DesktopRect const& area) const
{
    double const display = settings.display.width * settings.display.height;
    return area.width * area.height < display * maxBlinkingPart;
}

/// A spinner draws a different part of its place each time, so a place grows, but never beyond a small one.
void QuietScreen::remember(DesktopRect const& drawing)
{
    for (DesktopRect& place : places)
        if (DesktopRect const both = around(place, drawing); overlaps(place, drawing) && isSmall(both)) {
            place = both;
            return;
        }
    places.push_back(drawing);
    if (places.size() > maxPlaces)
        places.pop_front();
}

} // namespace zelvo
