#include "platform/linux/wayland/portal/StreamPlaces.h"

#include <algorithm>
#include <cmath>
#include <ranges>

namespace zelvo {

namespace {

bool isNear(double one, double other)
{
    return std::abs(one - other) <= 1; // Fractional scales round.
}

bool isAt(PortalStream const& stream, Monitor const& monitor)
{
    return stream.position && isNear((*stream.position)[0], monitor.area.x) &&
           isNear((*stream.position)[1], monitor.area.y);
}

bool hasPixels(PortalStream const& stream, Monitor const& monitor)
{
    return stream.size && isNear((*stream.size)[0], monitor.widthPixels) &&
           isNear((*stream.size)[1], monitor.heightPixels);
}

bool hasPoints(PortalStream const& stream, Monitor const& monitor)
{
    return stream.size && isNear((*stream.size)[0], monitor.area.width) &&
           isNear((*stream.size)[1], monitor.area.height);
}

StreamPlace placeOf(PortalStream const& stream, Monitor const& monitor, bool isKnown)
{
    bool const isUnitKnown = monitor.scale == 1 || hasPixels(stream, monitor);
    return {.node = stream.node,
            .monitor = monitor.id,
            .area = monitor.area,
            .width = stream.size ? (*stream.size)[0] : monitor.area.width,
            .height = stream.size ? (*stream.size)[1] : monitor.area.height,
            .isCertain = isKnown && isUnitKnown};
}

} // namespace

std::vector<StreamPlace> matchStreams(std::vector<PortalStream> const& streams, MonitorLayout const& layout)
{
    std::vector<StreamPlace> places;
    auto const isTaken = [&](Monitor const& monitor) {
        return std::ranges::any_of(places, [&](auto const& place) { return place.monitor == monitor.id; });
    };
    bool const isOnly = streams.size() == 1 && layout.monitors.size() == 1;
    for (PortalStream const& stream : streams)
        for (Monitor const& monitor : layout.monitors)
            if ((isOnly || isAt(stream, monitor)) && !isTaken(monitor)) {
                places.push_back(placeOf(stream, monitor, true));
                break;
            }
    for (PortalStream const& stream : streams) {
        bool const isPlaced =
            std::ranges::any_of(places, [&](auto const& place) { return place.node == stream.node; });
        if (isPlaced || stream.position)
            continue;
        for (Monitor const& monitor : layout.monitors)
            if (!isTaken(monitor) && (hasPoints(stream, monitor) || hasPixels(stream, monitor))) {
                places.push_back(placeOf(stream, monitor, false));
                break;
            }
    }
    return places;
}

std::optional<StreamPoint> streamPointAt(std::vector<StreamPlace> const& places, LogicalPoint point)
{
    for (StreamPlace const& place : places)
        if (place.area.contains(point))
            return StreamPoint{.place = place,
                               .x = (point.x - place.area.x) * place.width / place.area.width,
                               .y = (point.y - place.area.y) * place.height / place.area.height};
    return std::nullopt;
}

} // namespace zelvo
