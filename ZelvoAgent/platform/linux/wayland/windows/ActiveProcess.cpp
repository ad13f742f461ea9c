#include "platform/linux/wayland/windows/ActiveProcess.h"

namespace zelvo {

std::vector<OpenWindow> openWindowsOf(WindowSnapshot const* snapshot,
                                      CompositorWindows const& desktop,
                                      ActiveProcess const& activeProcess)
{
    if (snapshot)
        return snapshot->openWindows();
    auto const pid = activeProcess ? activeProcess() : std::nullopt;
    if (!pid)
        return {};
    OpenWindow front{.pid = pid, .application = desktop.program(*pid)};
    front.isRegular = true;
    front.isInFront = true;
    return {front};
}

} // namespace zelvo
