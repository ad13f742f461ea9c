#pragma once

#include "platform/linux/wayland/desktop/CompositorDoors.h"

namespace zelvo {

/// The doors of KDE's compositor: windows by a script in it, pictures by its screenshot service, input and
/// consent by the desktop's portals.
CompositorDoors openKwinDoors(DesktopParts const& parts,
                              std::shared_ptr<WaylandClient> const& client,
                              WaylandMonitors& monitors);

} // namespace zelvo
