#pragma once

#include "platform/linux/wayland/desktop/CompositorDoors.h"
#include "platform/linux/wayland/portal/PortalGrant.h"
#include "platform/linux/wayland/portal/PortalHotKey.h"
#include "platform/linux/wayland/portal/PortalInput.h"

#include <memory>
#include <vector>

namespace zelvo {

/// What the desktop's portals give on every desktop.
struct PortalDoors {
    PortalGrant* grant = nullptr;   ///< owned by the doors that it was put into
    PortalHotKey* hotKey = nullptr; ///< the same
    std::shared_ptr<PortalInput> input;

    /// What the portals do not give here. Thread: any.
    std::vector<PermissionCause> lacks() const;
};

/// Puts consent, input and the hot key into the doors. After `doors.windows`, which know where the pointer
/// is.
PortalDoors addPortals(CompositorDoors& doors, DesktopParts const& parts, WaylandMonitors& monitors);

} // namespace zelvo
