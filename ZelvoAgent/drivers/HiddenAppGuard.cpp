#include "drivers/HiddenAppGuard.h"

#include "base/Hop.h"
#include "wire/AgentError.h"

namespace zelvo {

HiddenAppGuard::HiddenAppGuard(Executor workers,
                               HiddenAppsStore& store,
                               Workspace& workspace,
                               WindowList& windows)
    : workers(std::move(workers)), store(store), workspace(workspace), windows(windows)
{
}

Task<> HiddenAppGuard::assertFrontmostAllowed()
{
    auto const front = co_await on(workers, [this] { return workspace.frontmostApplication(); });
    if (front)
        co_await assertNamesAllowed(front->names);
}

Task<> HiddenAppGuard::assertPointAllowed(DesktopPoint point)
{
    ApplicationNames const owner = co_await on(workers, [&] { return ownerOfWindow(point, windows); });
    co_await assertNamesAllowed(owner);
}

Task<> HiddenAppGuard::assertBundleAllowed(std::optional<std::string> bundleId)
{
    if (co_await store.isHidden(std::move(bundleId)))
        throw AgentError::hiddenAppActive;
}

Task<> HiddenAppGuard::assertNamesAllowed(ApplicationNames names)
{
    if (names.isHidden(co_await store.bundleIds()))
        throw AgentError::hiddenAppActive;
}

ApplicationNames HiddenAppGuard::ownerOfWindow(DesktopPoint at, WindowList& windows)
{
    for (WindowEntry const& window : windows.windows().value_or(std::vector<WindowEntry>{}))
        // A window of an unknown process still counts if its own properties name an application.
        if (window.isUnder(at) && (window.ownerPid || !window.owner.names.empty()))
            return window.namesAt(at);
    return {};
}

} // namespace zelvo
