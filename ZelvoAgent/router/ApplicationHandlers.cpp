#include "router/ApplicationHandlers.h"

#include "base/Hop.h"
#include "base/Text.h"
#include "base/Url.h"
#include "wire/AgentError.h"
#include "wire/records/SystemCommands.h"

#include <algorithm>

namespace zelvo {

namespace {

constexpr Duration openWait = 5s;

/// A running application: by its identifier before any other name, and the frontmost before others.
std::optional<std::string> runningLocation(Workspace& workspace, std::string const& bundleId)
{
    std::vector<RunningApplication> running = workspace.runningApplications();
    std::erase_if(running, [&](RunningApplication const& each) {
        return !each.location || !each.names.answersTo(bundleId);
    });
    if (running.empty())
        return std::nullopt;
    auto const rank = [&](RunningApplication const& each) {
        return std::pair(text::equalIgnoringCase(each.names.names.front(), bundleId), each.isActive);
    };
    return std::ranges::max(running, {}, rank).location;
}

/// By its identifier, else by the name that it runs under, else by the name of an installed one.
std::optional<std::string> applicationLocation(Workspace& workspace,
                                               std::string const& bundleId,
                                               std::string const& name,
                                               Workspace::NotRunning notRunning)
{
    if (notRunning == Workspace::NotRunning::isLeft && !bundleId.empty())
        if (auto const running = runningLocation(workspace, bundleId))
            return running;
    if (!bundleId.empty())
        if (auto const known = workspace.applicationLocation(bundleId))
            return known;
    if (name.empty())
        return std::nullopt;
    for (RunningApplication const& running : workspace.runningApplications())
        if (running.location && text::equalIgnoringCase(running.localizedName, name))
            return running.location;
    return workspace.applicationLocationNamed(name);
}

bool isRunning(Workspace& workspace, std::string const& location, std::string const& identifier)
{
    return std::ranges::any_of(workspace.runningApplications(), [&](RunningApplication const& running) {
        return running.location == location || running.names.answersTo(identifier);
    });
}

/// Nothing for what an agent does not get to see.
std::optional<records::RunningApp> entryOf(RunningApplication const& application,
                                           std::set<std::string> const& hidden)
{
    auto const identifier = application.names.identifier();
    if (!application.isRegular || !identifier || application.names.isHidden(hidden))
        return std::nullopt;
    return records::RunningApp{.active = application.isActive,
                               .bundleId = *identifier,
                               .name = application.localizedName,
                               .pid = application.pid};
}

records::WindowInfoFrame frameOf(std::optional<DesktopRect> const& bounds)
{
    DesktopRect const rect = bounds.value_or(DesktopRect{});
    return {.x = rect.x, .y = rect.y, .w = rect.width, .h = rect.height};
}

/// Nothing for desktops, this program's own windows and what an agent does not get to see.
std::optional<records::WindowInfo> entryOf(WindowEntry const& window, std::set<std::string> const& hidden)
{
    auto const identifier = window.owner.identifier();
    if (window.isDesktop || !window.ownerPid || !identifier || *identifier == ownBundleIdentifier ||
        window.owner.isHidden(hidden))
        return std::nullopt;
    return records::WindowInfo{.appName = window.ownerName,
                               .bundleId = *identifier,
                               .frame = frameOf(window.bounds),
                               .title = window.title};
}

template <class Item>
json::array shownEntries(std::vector<Item> const& items, std::set<std::string> const& hidden)
{
    json::array entries;
    for (Item const& item : items)
        if (auto entry = entryOf(item, hidden))
            entries.push_back(records::toJson(*std::move(entry)));
    return entries;
}

} // namespace

Task<json::value> ApplicationHandlers::openApp(Admission admission)
{
    return bringToFront(std::move(admission), Workspace::NotRunning::isStarted);
}

/// Never starts an application.
Task<json::value> ApplicationHandlers::activateApp(Admission admission)
{
    return bringToFront(std::move(admission), Workspace::NotRunning::isLeft);
}

Task<json::value> ApplicationHandlers::bringToFront(Admission admission, Workspace::NotRunning notRunning)
{
    Workspace& workspace = services.workspace;
    std::string const bundleId = read::text(admission.frame.params, "bundleId").value_or("");
    std::string const name = read::text(admission.frame.params, "name").value_or("");
    std::string location;
    auto const bundle = co_await on(services.workers, [&] {
        location = applicationLocation(workspace, bundleId, name, notRunning).value_or("");
        return location.empty() ? std::nullopt : workspace.bundle(location);
    });
    if (!bundle || bundle->identifier.empty())
        throw AgentError::invalidRequest;
    std::set<std::string> const hidden = co_await services.hiddenApps.bundleIds();
    if (hidden.contains(bundle->identifier) || bundle->names.isHidden(hidden))
        throw AgentError::hiddenAppActive;
    co_await services.recorder.agentActed(admission.frame.connectionId, admission.platformName());
    if (notRunning == Workspace::NotRunning::isLeft &&
        !co_await on(services.workers, [&] { return isRunning(workspace, location, bundle->identifier); }))
        throw AgentError::invalidRequest;
    // What ran a moment ago may have ended, or have no window that could come to the front.
    Instant const deadline = services.clock.now() + openWait;
    std::string const openedName = co_await workspace.openApplication(location, notRunning, deadline);
    co_await services.frontmost.assertInFront(bundle->identifier, deadline - services.clock.now());
    records::OpenedApp const opened{.bundleId = bundle->identifier, .name = openedName};
    co_return records::toJson(opened);
}

Task<json::value> ApplicationHandlers::listApps(Admission)
{
    std::set<std::string> const hidden = co_await services.hiddenApps.bundleIds();
    auto const running =
        co_await on(services.workers, [this] { return services.workspace.runningApplications(); });
    co_return shownEntries(running, hidden);
}

Task<json::value> ApplicationHandlers::listWindows(Admission)
{
    std::set<std::string> const hidden = co_await services.hiddenApps.bundleIds();
    auto const windows = co_await on(services.workers, [this] { return services.windows.windows(); });
    if (!windows)
        co_return json::array();
    co_return shownEntries(*windows, hidden);
}

/// Whether something takes the URL is not reported: that would tell an agent what is installed.
Task<json::value> ApplicationHandlers::openUrl(Admission admission)
{
    json::object const& params = admission.frame.params;
    auto const url = read::text(params, "url");
    if (!url || !isUrl(*url))
        throw AgentError::invalidRequest;
    co_await services.recorder.agentActed(admission.frame.connectionId, admission.platformName());
    ConfirmationSubject const subject{ConfirmationSubject::OpenUrl{*url}};
    co_await services.confirmations.ask(subject, admission.asker, Confirmations::timeoutMs(params));
    co_await on(services.workers, [&] { services.workspace.openUrl(*url); });
    co_return records::toJson(records::Done{});
}

} // namespace zelvo
