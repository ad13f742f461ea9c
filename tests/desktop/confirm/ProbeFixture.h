#pragma once

#include "confirm/ElementProbe.h"
#include "desktop/x11/LiveContexts.h"
#include "drivers/AccessibilityTree.h"
#include "platform/Platform.h"

#include <memory>
#include <string>
#include <vector>

namespace zelvo::test {

/// One line with role, title and the other fields that are set.
std::string textOf(std::optional<ProbedElement> const& probed);

/// The platform of this process and the element probe on it. Set the desktop's environment before
/// constructing it.
class ProbeFixture {
public:
    ProbeFixture();

    std::optional<ProbedElement> element(DesktopPoint at) { return live.run(probe->element(at)); }
    std::optional<ProbedElement> dialog() { return live.run(probe->frontmostDialog()); }
    std::optional<ProbedElement> focused() { return live.run(probe->focusedElement()); }

    /// All elements that a walk finds in an application, whether or not they can be operated.
    std::vector<UiElementInfo> snapshot(std::int32_t pid, bool interactiveOnly = false);
    /// Whether a window of that process is topmost there.
    bool isOnTop(std::int32_t pid, DesktopPoint at) const;

    LiveContexts live;
    std::unique_ptr<Platform> platform{makePlatform(live.contexts())};
    std::unique_ptr<HiddenAppsStore> hiddenApps;
    std::unique_ptr<ElementProbe> probe;

private:
    std::unique_ptr<ElectronAccessibility> electron;
    std::unique_ptr<AccessibilityTree> tree;
};

} // namespace zelvo::test
