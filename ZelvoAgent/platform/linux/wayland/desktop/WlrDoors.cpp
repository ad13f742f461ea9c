#include "platform/linux/wayland/desktop/WlrDoors.h"

#include "platform/linux/wayland/clipboard/DataControlPasteboard.h"
#include "platform/linux/wayland/desktop/OpenGrant.h"
#include "platform/linux/wayland/overlays/LayerOverlays.h"
#include "platform/linux/wayland/sway/SwayWindows.h"
#include "platform/linux/wayland/wlr/ScreencopyFrames.h"
#include "platform/linux/wayland/wlr/VirtualInput.h"

namespace zelvo {

bool isWlrOffered(WaylandClient const& client)
{
    return ScreencopyFrames::isOffered(client) && VirtualInput::isOffered(client);
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
    // Without them a hidden application that an interpreter runs could not be known, and ours not be covered.
    doors.seesWindows = [hasWindows] { return hasWindows; };
    doors.seesScreen = doors.seesWindows;
    doors.missingForWindows = [hasWindows] {
        return hasWindows ? std::vector<PermissionCause>()
                          : std::vector<PermissionCause>{{Kind::noWindowPlaces}};
    };
    doors.missingForScreen = doors.missingForWindows;
    doors.lacks = [hasClipboard = doors.clipboard != nullptr,
                   hasOverlays = LayerOverlays::isOffered(*client)] {
        std::vector<PermissionCause> lacks{{Kind::noHiddenWindows}, {Kind::noHotKey}};
        if (!hasClipboard)
            lacks.push_back({Kind::noClipboard});
        if (!hasOverlays)
            lacks.push_back({Kind::noOverlays});
        return lacks;
    };
    std::shared_ptr<VirtualInput> const input = VirtualInput::create(parts.contexts);
    doors.input = [input = input.get()] { return input; };
    doors.kept.push_back(input);
    if (LayerOverlays::isOffered(*client))
        doors.overlays = std::make_unique<LayerOverlays>(parts.contexts, WaylandClient::open(), monitors);
    return doors;
}

} // namespace zelvo
