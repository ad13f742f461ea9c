#include "platform/linux/wayland/desktop/WlrDoors.h"

#include "platform/linux/wayland/clipboard/DataControlPasteboard.h"
#include "platform/linux/wayland/desktop/OpenGrant.h"
#include "platform/linux/wayland/sway/SwayWindows.h"
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
    if (SwayWindows::isOffered())
        doors.windows = std::make_unique<SwayWindows>(parts.contexts);
    if (DataControlPasteboard::isOffered(*client))
        doors.clipboard =
            std::make_unique<DataControlPasteboard>(parts.contexts, parts.clock, WaylandClient::open());
    bool const hasWindows = doors.windows != nullptr;
    doors.seesWindows = [hasWindows] { return hasWindows; };
    doors.missingForWindows = [hasWindows] {
        return hasWindows ? std::vector<PermissionCause>()
                          : std::vector<PermissionCause>{{Kind::noWindowPlaces}};
    };
    doors.lacks = [hasClipboard = doors.clipboard != nullptr] {
        std::vector<PermissionCause> lacks{{Kind::noHiddenWindows}, {Kind::noHotKey}};
        if (!hasClipboard)
            lacks.push_back({Kind::noClipboard});
        return lacks;
    };
    (void)monitors;
    return doors;
}

} // namespace zelvo
