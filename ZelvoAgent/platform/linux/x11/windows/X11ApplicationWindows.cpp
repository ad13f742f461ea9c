#include "platform/linux/x11/windows/X11ApplicationWindows.h"

#include "platform/linux/x11/windows/DesktopSnapshot.h"

#include <utility>

namespace zelvo {

X11ApplicationWindows::X11ApplicationWindows(std::shared_ptr<X11Connection> connection,
                                             DesktopEntries& entries,
                                             X11WindowFocus& focus)
    : connection(std::move(connection)), entries(entries), focus(focus)
{
}

OpenableApplication X11ApplicationWindows::look(std::string const& location)
{
    DesktopSnapshot const desktop(*connection, entries);
    auto const windows = desktop.openWindows();
    return {.bundle = bundleAt(location, windows, desktop.entryIndex()),
            .hasWindow = windowToOpen(windows, location, nullptr).id != 0};
}

ApplicationWindow X11ApplicationWindows::windowOf(std::string const& location, StartMarks const* started)
{
    return windowToOpen(DesktopSnapshot(*connection, entries).openWindows(), location, started);
}

void X11ApplicationWindows::bringBack(std::uint32_t window)
{
    focus.bringBack(window);
}

} // namespace zelvo
