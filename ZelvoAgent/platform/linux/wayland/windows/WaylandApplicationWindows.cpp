#include "platform/linux/wayland/windows/WaylandApplicationWindows.h"

#include <utility>

namespace zelvo {

WaylandApplicationWindows::WaylandApplicationWindows(CompositorWindows& desktop, ActiveProcess activeProcess)
    : desktop(desktop), activeProcess(std::move(activeProcess))
{
}

OpenableApplication WaylandApplicationWindows::look(std::string const& location)
{
    auto const snapshot = desktop.look();
    auto const windows = openWindowsOf(snapshot.get(), desktop, activeProcess);
    return {.bundle = bundleAt(location, windows, *desktop.entries()),
            .hasWindow = windowToOpen(windows, location, nullptr).id != 0};
}

ApplicationWindow WaylandApplicationWindows::windowOf(std::string const& location, StartMarks const* started)
{
    auto const snapshot = desktop.look();
    return windowToOpen(openWindowsOf(snapshot.get(), desktop, activeProcess), location, started);
}

void WaylandApplicationWindows::bringBack(std::uint32_t window)
{
    desktop.activate(window);
}

} // namespace zelvo
