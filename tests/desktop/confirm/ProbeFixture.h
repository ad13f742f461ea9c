#pragma once

#include "confirm/ElementProbe.h"
#include "desktop/x11/LiveContexts.h"
#include "drivers/AccessibilityTree.h"
#include "platform/Platform.h"

#include <memory>
#include <string>
#include <vector>

namespace zelvo::test {

/// One line: role, title and so on, what is there only.
std::string textOf(std::optional<ProbedElement> const& probed);

/// The machine that this process is on, and what looks at its elements. The environment must be that of the
/// desktop before it is made.
class ProbeFixture {
public:
    ProbeFixture();

    std::optional<ProbedElement> element(DesktopPoint at) { return live.run(probe->element(at)); }
    std::optional<ProbedElement> dialog() { return live.run(probe->frontmostDialog()); }
    std::optional<ProbedElement> focused() { return live.run(probe->focusedElement()); }

    /// All that a walk finds of an application, whether or not it can be operated.
    std::vector<UiElementInfo> snapshot(std::int32_t pid, bool interactiveOnly = false);
    /// Is a window of that process on top there?
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
