#pragma once

#include "platform/linux/wayland/desktop/CompositorDoors.h"

namespace zelvo {

/// Whether the compositor gives pictures and input by the protocols of wlroots.
bool isWlrOffered(WaylandClient const& client);

/// The doors of such a compositor. It asks nobody; windows are known on sway alone.
CompositorDoors openWlrDoors(DesktopParts const& parts,
                             std::shared_ptr<WaylandClient> const& client,
                             WaylandMonitors& monitors);

} // namespace zelvo
