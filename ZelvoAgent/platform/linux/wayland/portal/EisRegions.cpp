#include "platform/linux/wayland/portal/EisRegions.h"

#include "platform/linux/wayland/portal/StreamPlaces.h"

#include <algorithm>
#include <cmath>

namespace zelvo {

namespace {

/// The mapping of the stream that certainly shows the monitor; empty if there is none.
std::string
mappingOf(std::vector<PortalStream> const& streams, MonitorLayout const& layout, Monitor const& monitor)
{
    auto const places = matchStreams(streams, layout);
    auto const shows = [&](PortalStream const& stream) {
        return std::ranges::any_of(places, [&](StreamPlace const& place) {
            return place.node == stream.node && place.monitor == monitor.id &&
                   (stream.position || layout.monitors.size() == 1);
        });
    };
    auto const found = std::ranges::find_if(streams, shows);
    return found == streams.end() ? std::string() : found->mapping;
}

bool isSame(LogicalRect const& one, LogicalRect const& other)
{
    auto const isNear = [](double left, double right) { return std::abs(left - right) <= 1; };
    return isNear(one.x, other.x) && isNear(one.y, other.y) && isNear(one.width, other.width) &&
           isNear(one.height, other.height); // Fractional scales round.
}

/// The last index whose region is right.
template <class IsRight>
std::optional<std::size_t> lastRegion(std::vector<EisRegion> const& regions, IsRight isRight)
{
    for (std::size_t index = regions.size(); index-- > 0;)
        if (regions[index].area.width >= 1 && regions[index].area.height >= 1 && isRight(regions[index]))
            return index;
    return std::nullopt;
}

std::optional<std::size_t> regionOf(std::vector<EisRegion> const& regions,
                                    std::string const& mapping,
                                    MonitorLayout const& layout,
                                    Monitor const& monitor)
{
    auto const isMapped = [&](EisRegion const& region) { return region.mapping == mapping; };
    if (auto const found = mapping.empty() ? std::nullopt : lastRegion(regions, isMapped))
        return found;
    auto const isThere = [&](EisRegion const& region) { return isSame(region.area, monitor.area); };
    if (auto const found = lastRegion(regions, isThere))
        return found;
    bool const isOnly = regions.size() == 1 && layout.monitors.size() == 1;
    return isOnly ? lastRegion(regions, [](EisRegion const&) { return true; }) : std::nullopt;
}

/// The server drops places at or beyond the end of a region, and rounding must not get there.
double scaled(double part, double whole, double begin, double length)
{
    return begin + std::clamp(part * length / whole, 0.0, length - 0.5);
}

} // namespace

std::optional<EisPlace> eisPlaceAt(std::vector<EisRegion> const& regions,
                                   std::vector<PortalStream> const& streams,
                                   MonitorLayout const& layout,
                                   LogicalPoint point)
{
    for (Monitor const& monitor : layout.monitors) {
        LogicalRect const& from = monitor.area;
        auto const index = from.contains(point)
                               ? regionOf(regions, mappingOf(streams, layout, monitor), layout, monitor)
                               : std::nullopt;
        if (!index)
            continue;
        LogicalRect const& to = regions[*index].area;
        return EisPlace{.region = *index,
                        .point = {scaled(point.x - from.x, from.width, to.x, to.width),
                                  scaled(point.y - from.y, from.height, to.y, to.height)}};
    }
    return std::nullopt;
}

} // namespace zelvo
