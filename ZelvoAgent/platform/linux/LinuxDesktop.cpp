#include "platform/linux/LinuxDesktop.h"

#include "platform/linux/X11Desktop.h"
#include "platform/linux/wayland/desktop/WaylandDesktop.h"

namespace zelvo {

std::unique_ptr<LinuxDesktop> makeDesktop(DesktopParts const& parts)
{
    // First, because a Wayland session usually has an X server too, which shows only a part of it.
    if (auto desktop = WaylandDesktop::open(parts))
        return desktop;
    return std::make_unique<X11Desktop>(parts);
}

} // namespace zelvo
