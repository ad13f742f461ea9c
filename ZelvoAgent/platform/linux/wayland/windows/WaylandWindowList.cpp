#include "platform/linux/wayland/windows/WaylandWindowList.h"

#include "platform/linux/applications/WindowTitle.h"
#include "wire/AgentError.h"

#include <ranges>
#include <utility>

namespace zelvo {

namespace {

using Kind = CompositorWindow::Kind;

constexpr int ownLayer = 8;
constexpr int menuLayer = 25;
constexpr int floatingLayer = 3;

int layerOf(CompositorWindow const& window, bool isOwn)
{
    if (isOwn)
        return ownLayer;
    if (window.kind == Kind::popup)
        return menuLayer;
    bool const isFloating = window.kind == Kind::dock || window.kind == Kind::overlay || window.isAbove;
    return isFloating ? floatingLayer : 0;
}

} // namespace

std::vector<WindowEntry> windowEntries(WindowSnapshot const& snapshot, MonitorLayout const& layout)
{
    WindowOwnership const& owners = snapshot.owners();
    std::vector<WindowEntry> entries;
    for (CompositorWindow const& window : std::views::reverse(snapshot.windows().windows)) {
        bool const isOwn = owners.isOwn(window);
        if (!window.isOnScreen || (isOwn && window.kind == Kind::overlay))
            continue;
        RunningApplication owner = owners.application(window);
        WindowEntry& entry = entries.emplace_back();
        entry.id = snapshot.idOf(window);
        entry.ownerPid = window.pid;
        entry.layer = layerOf(window, isOwn);
        entry.bounds = layout.toPoints(window.frame);
        entry.owner = std::move(owner.names);
        entry.ownerName = std::move(owner.localizedName);
        entry.title = boundedTitle(window.title);
        entry.isDesktop = window.kind == Kind::desktop;
    }
    return entries;
}

WaylandWindowList::WaylandWindowList(CompositorWindows& desktop, std::function<MonitorLayout()> layout)
    : desktop(desktop), layout(std::move(layout))
{
}

std::optional<std::vector<WindowEntry>> WaylandWindowList::windows()
{
    auto const snapshot = desktop.look();
    MonitorLayout const monitors = layout();
    // Without the windows nobody can say whose a point is, so nothing may be done there.
    if (!snapshot || monitors.monitors.empty())
        throw AgentError::machineUnavailable;
    return windowEntries(*snapshot, monitors);
}

} // namespace zelvo
