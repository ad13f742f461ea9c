#include "platform/linux/wayland/desktop/WlrDoors.h"

#include "platform/linux/wayland/desktop/OpenGrant.h"
#include "platform/linux/wayland/wlr/ScreencopyFrames.h"

namespace zelvo {

bool isWlrOffered(WaylandClient const& client)
{
    return ScreencopyFrames::isOffered(client) && client.find("zwlr_virtual_pointer_manager_v1") &&
           client.find("zwp_virtual_keyboard_manager_v1");
}

CompositorDoors openWlrDoors(DesktopParts const& parts,
                             std::shared_ptr<WaylandClient> const& client,
                             WaylandMonitors& monitors)
{
    using Kind = PermissionCause::Kind;
    CompositorDoors doors;
    doors.grant = std::make_unique<OpenGrant>();
    doors.frames = std::make_unique<ScreencopyFrames>(parts.contexts, parts.clock);
    doors.lacks = [] { return std::vector<PermissionCause>{{Kind::noHiddenWindows}, {Kind::noHotKey}}; };
    (void)client;
    (void)monitors;
    return doors;
}

} // namespace zelvo
