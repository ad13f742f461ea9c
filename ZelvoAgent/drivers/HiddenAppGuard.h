#pragma once

#include "base/Contexts.h"
#include "base/Geometry.h"
#include "drivers/HiddenAppsStore.h"
#include "platform/WindowList.h"
#include "platform/Workspace.h"

#include <optional>
#include <string>

namespace zelvo {

/// Refuses what would touch an application that the person has hidden, with AgentError::hiddenAppActive.
/// Thread: any; the desktop is asked on the workers.
class HiddenAppGuard {
public:
    HiddenAppGuard(Executor workers, HiddenAppsStore& store, Workspace& workspace, WindowList& windows);

    Task<> assertFrontmostAllowed();
    /// The topmost window under the point decides, whatever its layer. A point with no window under it
    /// passes.
    Task<> assertPointAllowed(DesktopPoint point);
    Task<> assertBundleAllowed(std::optional<std::string> bundleId);

    /// The names of the application whose window is topmost at a point, and of those embedded in it there.
    static ApplicationNames ownerOfWindow(DesktopPoint at, WindowList& windows);

private:
    Task<> assertNamesAllowed(ApplicationNames names);

    Executor workers;
    HiddenAppsStore& store;
    Workspace& workspace;
    WindowList& windows;
};

} // namespace zelvo
