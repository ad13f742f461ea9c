#pragma once

#include "platform/linux/wayland/desktop/CompositorDoors.h"
#include "platform/linux/wayland/portal/PortalGrant.h"
#include "platform/linux/wayland/portal/PortalHotKey.h"

#include <functional>
#include <memory>

namespace zelvo {

/// What the desktop's portals give on every desktop.
struct PortalDoors {
    std::shared_ptr<PortalRequests> requests;
    PortalGrant* grant = nullptr; ///< owned by the doors that it was put into
};

/// Puts consent and input into the doors. After `doors.windows`, which know where the pointer is.
PortalDoors addPortals(CompositorDoors& doors, DesktopParts const& parts, WaylandMonitors& monitors);

/// Puts the portals' hot key into the doors; it is asked for with the grant. Gives a question: does the
/// desktop lack it?
std::function<bool()>
addHotKey(CompositorDoors& doors, DesktopParts const& parts, PortalDoors const& portals);

} // namespace zelvo
