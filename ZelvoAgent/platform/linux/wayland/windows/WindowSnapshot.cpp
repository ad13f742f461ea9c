#include "platform/linux/wayland/windows/WindowSnapshot.h"

#include <algorithm>
#include <utility>

namespace zelvo {

namespace {

using Kind = CompositorWindow::Kind;

} // namespace

WindowSnapshot::WindowSnapshot(WindowsNow windows,
                               WindowIds& ids,
                               std::shared_ptr<DesktopEntryIndex const> entries,
                               std::int32_t own,
                               KnownProcesses::Read facts)
    : now(std::move(windows)), ids(ids), index(std::move(entries)),
      ownership(now, *index, own, std::move(facts))
{
    ids.note(now);
}

CompositorWindow const* WindowSnapshot::find(std::uint32_t id) const
{
    auto const window = ids.windowOf(id);
    auto const found =
        std::ranges::find_if(now.windows, [&](CompositorWindow const& each) { return each.id == window; });
    return found == now.windows.end() ? nullptr : &*found;
}

CompositorWindow const* WindowSnapshot::active() const
{
    auto const found = std::ranges::find_if(now.windows, &CompositorWindow::isActive);
    return now.isCovered || found == now.windows.end() ? nullptr : &*found;
}

std::vector<OpenWindow> WindowSnapshot::openWindows() const
{
    CompositorWindow const* const front = active();
    std::vector<OpenWindow> open;
    for (CompositorWindow const& window : now.windows) {
        std::uint32_t const id = idOf(window);
        open.push_back({.id = id,
                        .pid = window.pid,
                        .application = ownership.application(window),
                        .isRegular = window.kind == Kind::normal || window.kind == Kind::dialog,
                        .isMinimized = window.isMinimized,
                        .isInFront = &window == front,
                        .age = id,
                        .height = open.size() + 1});
    }
    return open;
}

std::optional<RunningApplication> WindowSnapshot::frontmost() const
{
    CompositorWindow const* const front = active();
    if (!front)
        return std::nullopt;
    RunningApplication application = ownership.application(*front);
    for (CompositorWindow const& window : now.windows)
        if (window.kind == Kind::popup && window.isOnScreen)
            application.names.hideWith(ownership.namesOf(window));
    return application;
}

} // namespace zelvo
