#pragma once

#include "platform/linux/wayland/desktop/CompositorDoors.h"

namespace zelvo {

/// The doors of GNOME: windows and pictures without some of them by our extension, input and consent by the
/// desktop's portals. On other desktops with portals nothing is known of windows.
CompositorDoors openGnomeDoors(DesktopParts const& parts, WaylandMonitors& monitors);

} // namespace zelvo
