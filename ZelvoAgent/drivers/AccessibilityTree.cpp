#include "drivers/AccessibilityTree.h"

#include "base/Hop.h"
#include "base/Identifiers.h"
#include "wire/AgentError.h"

#include <algorithm>

namespace zelvo {

namespace {

using Attribute = AccessibilityAttribute;

constexpr int maxRetries = 12;
constexpr Duration retryPause = 300ms;
constexpr Duration wakingPause = 150ms;
/// For this long after its start a Chromium may still be building its tree.
constexpr Duration youth = 15s;
/// The maximum side of a title bar's button, in points.
constexpr double smallButton = 20;

std::vector<AccessibilityElement> rootsOf(AccessibilityReader& reader, TreeScope scope)
{
    AccessibilityElement const application = reader.application();
    switch (scope) {
    case TreeScope::allWindows:
        return reader.elements(application, Attribute::windows).value_or(std::vector<AccessibilityElement>{});
    case TreeScope::menuBar:
        return {reader.element(application, Attribute::menuBar).value_or(application)};
    case TreeScope::frontmost:
        break;
    }
    return {reader.element(application, Attribute::focusedWindow).value_or(application)};
}

std::string newSnapshotId()
{
    return "snp_" + newUuid().substr(0, 12);
}

} // namespace

struct AccessibilityTree::Target {
    RunningApplication application;
    std::optional<std::string> bundleId;
    std::set<std::string> hidden; ///< the hidden list, read for this call
};

AccessibilityTree::AccessibilityTree(Services services, TreeLimits limits)
    : services(std::move(services)), limits(limits)
{
}

bool AccessibilityTree::looksUnbuilt(std::vector<UiElementInfo> const& collected)
{
    return std::ranges::all_of(collected, [](UiElementInfo const& info) {
        return info.role == "AXButton" && info.frame.w <= smallButton && info.frame.h <= smallButton;
    });
}

Task<UiTreeSnapshot>
AccessibilityTree::snapshot(TreeScope scope, bool interactiveOnly, std::optional<std::int32_t> targetPid)
{
    if (!services.access.current().accessibility)
        throw AgentError::permissionMissing;
    Target const target = co_await findTarget(targetPid);
    int const retries = co_await retryBudget(target);

    Walked walked;
    for (int attempt = 0;; ++attempt) {
        walked =
            co_await on(services.contexts.workers, [&] { return walkOnce(target, scope, interactiveOnly); });
        if (attempt == retries || !looksUnbuilt(walked.elements))
            break;
        co_await services.clock.sleepThroughCancel(retryPause);
    }

    UiTreeSnapshot snapshot;
    snapshot.snapshotId = newSnapshotId();
    snapshot.pid = target.application.pid;
    if (target.bundleId)
        snapshot.app = {*target.bundleId, target.application.localizedName};
    snapshot.elements = std::move(walked.elements);
    snapshot.isRelative = walked.isRelative;
    snapshot.names = std::move(walked.names);
    snapshot.truncated = walked.truncated;
    snapshot.createdAt = services.clock.date();
    co_return snapshot;
}

/// Checks the hidden list before it touches the application in any way.
Task<AccessibilityTree::Target> AccessibilityTree::findTarget(std::optional<std::int32_t> targetPid)
{
    auto application = co_await on(services.contexts.workers, [&] {
        return targetPid ? services.workspace.application(*targetPid)
                         : services.workspace.frontmostApplication();
    });
    if (!application)
        throw AgentError::machineUnavailable;
    Target target;
    target.application = *std::move(application);
    target.hidden = co_await services.hiddenApps.bundleIds();
    target.bundleId = target.application.names.identifier();
    // The elements are read by process, which may hold another application that is hidden.
    bool const isHidden = co_await on(services.contexts.workers, [&] {
        return target.application.names.isHidden(target.hidden) ||
               (!target.hidden.empty() && isHiddenProcess(target.application.pid, target.hidden));
    });
    if (isHidden)
        throw AgentError::hiddenAppActive;
    co_return target;
}

Task<int> AccessibilityTree::retryBudget(Target target)
{
    RunningApplication const& application = target.application;
    bool const isChromium = co_await on(services.contexts.workers, [&] {
        return ElectronAccessibility::looksLikeChromium(target.bundleId, application.bundlePath);
    });
    if (!isChromium)
        co_return 0;
    bool const wasOurs = co_await services.electron.isManagedByUs(application.pid);
    bool const isOn = co_await services.electron.enable(application.pid);
    if (isOn && !wasOurs) {
        co_await services.clock.sleepThroughCancel(wakingPause);
        co_return maxRetries;
    }
    bool const isYoung = application.launchDate && services.clock.date() - *application.launchDate < youth;
    co_return isYoung ? maxRetries : 0;
}

AccessibilityTree::Walked
AccessibilityTree::walkOnce(Target const& target, TreeScope scope, bool interactiveOnly)
{
    // A reader caches its answers, so each walk needs a new one.
    auto const reader = services.accessibility.reader(target.application.pid, limits.messagingTimeout);
    Instant const deadline = services.clock.now() + limits.totalTimeout;
    reader->plan(planOf(target, interactiveOnly, deadline));
    TreeWalk walk(*reader, services.clock, limits, deadline, interactiveOnly);
    walk.run(rootsOf(*reader, scope));
    // An unanswered query counts as absent, so elements below it may be missing.
    return {.elements = std::move(walk.collected),
            .names = std::move(walk.names),
            .isRelative = reader->isRelative(),
            .truncated = walk.truncated || reader->hasFallenSilent()};
}

AccessibilityPlan AccessibilityTree::planOf(Target const& target, bool interactiveOnly, Instant deadline)
{
    AccessibilityPlan plan;
    plan.maxDepth = limits.maxDepth;
    plan.deadline = deadline;
    plan.describes = [interactiveOnly](std::string_view role) {
        return !interactiveOnly || TreeWalk::isInteractive(role);
    };
    plan.allowsProcess = [this, &target](std::int32_t pid) { return mayRead(pid, target.hidden); };
    return plan;
}

/// Another application's elements may be embedded in a window.
bool AccessibilityTree::mayRead(std::int32_t pid, std::set<std::string> const& hidden)
{
    return pid != services.ownPid && !isHiddenProcess(pid, hidden);
}

bool AccessibilityTree::isHiddenProcess(std::int32_t pid, std::set<std::string> const& hidden)
{
    auto const application = services.workspace.application(pid);
    return application && application->names.isHidden(hidden);
}

} // namespace zelvo
