#include "platform/linux/dbus/BusMessages.h"
#include "platform/linux/wayland/desktop/GnomeDoors.h"
#include "platform/linux/wayland/desktop/KwinDoors.h"
#include "platform/linux/wayland/desktop/WlrDoors.h"

namespace zelvo {

namespace {

/// Whether somebody on the session bus has this name now. Blocks.
bool hasOwner(char const* name)
{
    BusPtr const bus = openSessionBus();
    sd_bus_creds* creds = nullptr;
    bool const isThere = bus && sd_bus_get_name_creds(bus.get(), name, 0, &creds) >= 0;
    sd_bus_creds_unref(creds);
    return isThere;
}

} // namespace

CompositorDoors
openDoors(DesktopParts const& parts, std::shared_ptr<WaylandClient> const& client, WaylandMonitors& monitors)
{
    if (isWlrOffered(*client))
        return openWlrDoors(parts, client, monitors);
    if (hasOwner("org.kde.KWin"))
        return openKwinDoors(parts, client, monitors);
    return openGnomeDoors(parts, monitors);
}

} // namespace zelvo
