#pragma once

#include "platform/linux/wayland/MonitorLayout.h"
#include "platform/linux/wayland/portal/PortalAnswer.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace zelvo {

/// The monitor that a stream shows.
struct StreamPlace {
    std::uint32_t node = 0;    ///< of PipeWire
    std::uint32_t monitor = 0; ///< the id in the layout
    LogicalRect area;
    double width = 0; ///< of the stream, in the unit of its places
    double height = 0;
    /// Whether a place that is calculated from this is where the pointer appears. If not, somebody must look:
    /// desktops confuse streams without a position, and mean pixels or points where these differ.
    bool isCertain = false;
    bool operator==(StreamPlace const&) const = default;
};

/// A place in a stream.
struct StreamPoint {
    StreamPlace place;
    double x{};
    double y{};
};

/// Finds the monitor of each stream: by its position; else the next monitor in order that has its size in
/// points or pixels. Streams that fit nowhere are left out.
std::vector<StreamPlace> matchStreams(std::vector<PortalStream> const& streams, MonitorLayout const& layout);

/// `nullopt` if no stream shows the point.
std::optional<StreamPoint> streamPointAt(std::vector<StreamPlace> const& places, LogicalPoint point);

} // namespace zelvo
