#pragma once

#include "base/Contexts.h"
#include "confirm/ElementOperating.h"
#include "confirm/ElementProbing.h"
#include "drivers/HiddenAppsStore.h"
#include "platform/Platform.h"

#include <functional>
#include <memory>
#include <set>
#include <string>

namespace zelvo {

/// The probe on the real desktop. It reads one application and the elements of others that are embedded in
/// it, but never a hidden application or this program. It gives up on an application that does not answer
/// for a quarter of a second, and on a slow one after one second in all. Thread: any; queries the desktop on
/// the workers.
class ElementProbe final : public ElementProbing {
public:
    ElementProbe(Executor workers, Platform& platform, HiddenAppsStore& hiddenApps);

    Task<std::optional<ProbedElement>> element(DesktopPoint at) override;
    Task<std::optional<ProbedElement>> element(NamedElement named) override;
    Task<std::optional<ProbedElement>> frontmostDialog() override;
    Task<std::optional<FrontmostAppInfo>> frontmostApp() override;
    Task<std::optional<ProbedElement>> focusedElement() override;
    Task<std::optional<ProbedElement>> currentElement() override;
    Task<std::optional<ProbedElement>> defaultButton() override;
    /// Looks at the element once more and, if it is the expected one, operates it at once.
    Task<ElementOperating::Outcome> operate(ElementOperation operation);

private:
    using Probed = std::optional<ProbedElement>;
    using Hidden = std::set<std::string>;
    using Shows = std::function<bool(std::int32_t pid)>;

    Probed elementNow(DesktopPoint at, Hidden const& hidden);
    using Visit = std::function<void(AccessibilityReader&, AccessibilityElement, ProbedElement const&)>;
    /// Calls `visit` with what a press of the element presses, unless it may not be read. False if the
    /// application in front is not the element's, or may not be read.
    bool visitNamed(NamedElement const& named, Hidden const& hidden, Visit const& visit);
    ElementOperating::Outcome operateNow(ElementOperation const& operation, Hidden const& hidden);
    Probed dialogNow(Hidden const& hidden);
    using Find = std::optional<AccessibilityElement> (*)(AccessibilityReader&);
    /// An element of the frontmost application.
    Probed inFront(Hidden const& hidden, Find find);
    static std::optional<AccessibilityElement> focusedIn(AccessibilityReader& reader);
    static std::optional<AccessibilityElement> currentIn(AccessibilityReader& reader);
    static std::optional<AccessibilityElement> defaultButtonIn(AccessibilityReader& reader);
    /// The form of a page that the focused element is in.
    static std::optional<AccessibilityElement> focusedFormIn(AccessibilityReader& reader);

    bool isTrusted() { return platform.access().current().accessibility; }
    /// The window that a press would reach; `nullopt` if its application may not be read.
    std::optional<WindowEntry> readableWindow(DesktopPoint at, Hidden const& hidden);
    /// The frontmost application; `nullopt` if it may not be read.
    std::optional<RunningApplication> readableFront(Hidden const& hidden);
    bool isEmbedded(std::int32_t pid, std::int32_t holder, Hidden const& hidden);
    /// shows  true if the application shows that process's elements, so that they may be read; called while
    ///        the reader exists
    std::unique_ptr<AccessibilityReader> read(std::int32_t pid, Shows shows);
    /// The name of a process's application.
    /// known, name  a process whose application's name is already known; ignored if `name` is empty
    std::optional<std::string>
    applicationOf(std::optional<std::int32_t> pid, std::int32_t known, std::string const& name);

    Executor workers;
    Platform& platform;
    HiddenAppsStore& hiddenApps;
};

} // namespace zelvo
