#pragma once

#include "platform/WindowList.h"
#include "platform/linux/wayland/MonitorLayout.h"
#include "platform/linux/wayland/windows/CompositorWindows.h"

#include <functional>

namespace zelvo {

/// The entries of the window list, front to back: the windows on the screen but this program's overlays,
/// which take no pointer.
/// layout  has a monitor
std::vector<WindowEntry> windowEntries(WindowSnapshot const& snapshot, MonitorLayout const& layout);

/// The windows that the compositor shows. Throws AgentError::machineUnavailable if they cannot be read, or if
/// no monitor is known, because places depend on it.
class WaylandWindowList final : public WindowList {
public:
    /// layout  the monitors as they are now, from any thread. Both must outlive this.
    WaylandWindowList(CompositorWindows& desktop, std::function<MonitorLayout()> layout);

    std::optional<std::vector<WindowEntry>> windows() override;

private:
    CompositorWindows& desktop;
    std::function<MonitorLayout()> layout;
};

} // namespace zelvo
