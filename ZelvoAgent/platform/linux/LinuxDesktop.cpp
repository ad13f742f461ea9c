#include "platform/linux/LinuxDesktop.h"

#include "platform/linux/X11Desktop.h"

namespace zelvo {

std::unique_ptr<LinuxDesktop> makeDesktop(DesktopParts const& parts)
{
    return std::make_unique<X11Desktop>(parts);
}

} // namespace zelvo
