#pragma once

#include "base/Contexts.h"
#include "drivers/ElectronAccessibility.h"
#include "drivers/HiddenAppsStore.h"
#include "drivers/TreeCapturing.h"
#include "drivers/TreeWalk.h"
#include "platform/Accessibility.h"
#include "platform/SystemAccess.h"
#include "platform/Workspace.h"

#include <functional>
#include <set>
#include <string>

namespace zelvo {

/// Turns an application's interface into a flat, bounded list of elements. It enables accessibility in
/// Chromium and repeats the walk while Chromium has published nothing yet. Thread: any; keeps no state
/// between calls. A walk blocks one worker.
class AccessibilityTree final : public TreeCapturing {
public:
    struct Services {
        Contexts contexts;
        Clock& clock;
        Accessibility& accessibility;
        SystemAccess& access;
        Workspace& workspace;
        HiddenAppsStore& hiddenApps;
        ElectronAccessibility& electron;
        std::int32_t ownPid = 0;
    };

    explicit AccessibilityTree(Services services, TreeLimits limits = {});

    Task<UiTreeSnapshot>
    snapshot(TreeScope scope, bool interactiveOnly, std::optional<std::int32_t> targetPid) override;

    /// True if a window has published nothing, or only its title bar's small buttons.
    static bool looksUnbuilt(std::vector<UiElementInfo> const& collected);

private:
    struct Walked {
        std::vector<UiElementInfo> elements;
        std::vector<std::string> names;
        bool isRelative = false;
        bool truncated = false;
    };
    struct Target;

    Task<Target> findTarget(std::optional<std::int32_t> targetPid);
    /// How often the walk may be repeated. Enables accessibility if the application is a Chromium.
    Task<int> retryBudget(Target target);
    Walked walkOnce(Target const& target, TreeScope scope, bool interactiveOnly);
    AccessibilityPlan planOf(Target const& target, bool interactiveOnly, Instant deadline);
    bool isHiddenProcess(std::int32_t pid, std::set<std::string> const& hidden);
    bool mayRead(std::int32_t pid, std::set<std::string> const& hidden);

    Services services;
    TreeLimits limits;
};

} // namespace zelvo
