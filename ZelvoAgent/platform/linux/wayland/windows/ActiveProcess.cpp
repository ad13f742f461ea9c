#include "platform/linux/wayland/windows/ActiveProcess.h"

#include <algorithm>
#include <utility>

namespace zelvo {

ActiveProcess amongClients(ActiveProcess active, ClientList& clients)
{
    return [active = std::move(active), &clients]() -> std::optional<std::int32_t> {
        auto const pid = active();
        auto const connected = pid ? clients.processes() : std::nullopt;
        bool const isClient = connected && std::ranges::find(*connected, *pid) != connected->end();
        return isClient ? pid : std::nullopt;
    };
}

std::vector<OpenWindow> openWindowsOf(WindowSnapshot const* snapshot,
                                      CompositorWindows const& desktop,
                                      ActiveProcess const& activeProcess)
{
    if (snapshot)
        return snapshot->openWindows();
    auto const pid = activeProcess ? activeProcess() : std::nullopt;
    if (!pid)
        return {};
    OpenWindow front{.pid = pid, .application = desktop.certainProgram(*pid)};
    front.isRegular = true;
    front.isInFront = true;
    return {front};
}

} // namespace zelvo
