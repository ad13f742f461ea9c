#pragma once

#include "base/Contexts.h"
#include "platform/DrawingWatch.h"
#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/x11/X11DisplayLayout.h"
#include "platform/linux/x11/capture/X11ScreenSource.h"

namespace zelvo {

/// Watches of the X screen. Each has dedicated connections, on which the server reports as little as
/// possible, and which cost nothing while nothing is drawn.
class X11DrawingWatches final : public DrawingWatches {
public:
    /// layout, entries  must outlive all watches
    X11DrawingWatches(Contexts contexts,
                      X11DisplayLayout& layout,
                      DesktopEntries& entries,
                      X11ScreenSource& source);

    Task<std::unique_ptr<DrawingWatch>>
    open(std::uint32_t display, std::set<std::string> excluded, std::function<void()> drawn) override;

private:
    Contexts contexts;
    X11DisplayLayout& layout;
    DesktopEntries& entries;
    X11ScreenSource& source;
};

} // namespace zelvo
