#include "desktop/confirm/ProbeFixture.h"

#include "desktop/harness/WaitFor.h"

#include <algorithm>

namespace zelvo::test {

std::string textOf(std::optional<ProbedElement> const& probed)
{
    if (!probed)
        return "nothing";
    std::string line = probed->role;
    auto const add = [&](char const* name, std::optional<std::string> const& text) {
        if (text)
            line += std::string(" ") + name + "='" + *text + "'";
    };
    add("subrole", probed->subrole);
    add("title", probed->title);
    add("label", probed->label);
    add("help", probed->help);
    add("identifier", probed->identifier);
    add("app", probed->appName);
    add("window", probed->windowSubrole);
    return probed->isInSheet ? line + " in a sheet" : line;
}

ProbeFixture::ProbeFixture()
    : hiddenApps(std::make_unique<HiddenAppsStore>(live.contexts().agent, platform->defaults())),
      probe(std::make_unique<ElementProbe>(live.contexts().workers, *platform, *hiddenApps)),
      electron(std::make_unique<ElectronAccessibility>(live.contexts(), platform->accessibility())),
      tree(std::make_unique<AccessibilityTree>(
          AccessibilityTree::Services{.contexts = live.contexts(),
                                      .clock = platform->clock(),
                                      .accessibility = platform->accessibility(),
                                      .access = platform->access(),
                                      .workspace = platform->workspace(),
                                      .hiddenApps = *hiddenApps,
                                      .electron = *electron,
                                      .ownPid = platform->facts().ownPid()}))
{
    // Permissions are determined in the background at start.
    waitFor([&] { return platform->access().current().accessibility; });
}

std::vector<UiElementInfo> ProbeFixture::snapshot(std::int32_t pid, bool interactiveOnly)
{
    return live.run(tree->snapshot(TreeScope::allWindows, interactiveOnly, pid)).elements;
}

bool ProbeFixture::isOnTop(std::int32_t pid, DesktopPoint at) const
{
    auto const windows = platform->windows().windows().value_or(std::vector<WindowEntry>());
    auto const top = std::ranges::find_if(windows, [&](WindowEntry const& each) { return each.isUnder(at); });
    return top != windows.end() && top->ownerPid == pid;
}

} // namespace zelvo::test
