#pragma once

#include "confirm/ElementProbing.h"
#include "drivers/HiddenAppsStore.h"
#include "platform/Workspace.h"

namespace zelvo {

/// The probe on the real desktop; it is asked on the workers.
class ElementProbe final : public ElementProbing {
public:
    ElementProbe(Executor workers, Workspace& workspace, HiddenAppsStore& hiddenApps);
    Task<std::optional<FrontmostAppInfo>> frontmostApp() override;

private:
    Executor workers;
    Workspace& workspace;
    HiddenAppsStore& hiddenApps;
};

} // namespace zelvo
