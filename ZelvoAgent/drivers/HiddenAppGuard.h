#pragma once

#include "base/Contexts.h"
#include "base/Geometry.h"
#include "drivers/HiddenAppsStore.h"
#include "platform/WindowList.h"
#include "platform/Workspace.h"

#include <optional>
#include <string>

namespace zelvo {

/// Refuses actions on applications that the person has hidden, with AgentError::hiddenAppActive.
/// Thread: any; queries the desktop on the workers.
class HiddenAppGuard {
public:
    HiddenAppGuard(Executor workers, HiddenAppsStore& store, Workspace& workspace, WindowList& windows);

    Task<> assertFrontmostAllowed();
    /// Checks the topmost window at the point, whatever its layer. A point without a window passes.
    Task<> assertPointAllowed(DesktopPoint point);
    Task<> assertBundleAllowed(std::optional<std::string> bundleId);

    /// The names of the application whose window is topmost at a point, and of applications embedded there.
    static ApplicationNames ownerOfWindow(DesktopPoint at, WindowList& windows);

private:
    Task<> assertNamesAllowed(ApplicationNames names);

    Executor workers;
    HiddenAppsStore& store;
    Workspace& workspace;
    WindowList& windows;
};

} // namespace zelvo
