#pragma once

#include "platform/linux/wayland/MonitorLayout.h"
#include "platform/linux/wayland/portal/PortalAnswer.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A part of the desktop in which an absolute pointer of EIS moves.
struct EisRegion {
    LogicalRect area;    ///< in the coordinates of EIS, which usually are the compositor's
    std::string mapping; ///< as in PortalStream; may be empty
    bool operator==(EisRegion const&) const = default;
};

/// A place in a region.
struct EisPlace {
    std::size_t region = 0; ///< its index
    LogicalPoint point;     ///< in the coordinates of EIS, always inside of the region
    bool operator==(EisPlace const&) const = default;
};

/// Finds where a point of the compositor's coordinates is in EIS: in the region with the mapping of the
/// monitor's stream; else in the region with the monitor's area; else in the only region of the only monitor.
/// The newest of several regions wins. `nullopt` if no region certainly shows the point.
/// regions  in the order in which they appeared
std::optional<EisPlace> eisPlaceAt(std::vector<EisRegion> const& regions,
                                   std::vector<PortalStream> const& streams,
                                   MonitorLayout const& layout,
                                   LogicalPoint point);

} // namespace zelvo
