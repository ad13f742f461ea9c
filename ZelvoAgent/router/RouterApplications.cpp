#include "base/Hop.h"
#include "base/Text.h"
#include "base/Url.h"
#include "router/RpcRouter.h"

#include <algorithm>

namespace zelvo {

namespace {

constexpr Duration openWait = 5s;

/// By its identifier, else by the name that it runs under, else by the name of an installed one.
std::optional<std::string>
applicationLocation(Workspace& workspace, std::string const& bundleId, std::string const& name)
{
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
        return running.location == location || running.names.identifier({}) == identifier;
    });
}

/// Nothing for what an agent does not get to see.
std::optional<json::object> entryOf(RunningApplication const& application,
                                    std::set<std::string> const& hidden)
{
    auto const identifier = application.names.identifier(hidden);
    if (!application.isRegular || !identifier || hidden.contains(*identifier))
        return std::nullopt;
    return json::object{{"bundleId", *identifier},
                        {"name", application.localizedName},
                        {"pid", application.pid},
                        {"active", application.isActive}};
}

json::object frameOf(std::optional<DesktopRect> const& bounds)
{
    DesktopRect const rect = bounds.value_or(DesktopRect{});
    return {{"x", plainNumber(rect.x)},
            {"y", plainNumber(rect.y)},
            {"w", plainNumber(rect.width)},
            {"h", plainNumber(rect.height)}};
}

/// Nothing for this program's own windows and what an agent does not get to see.
std::optional<json::object> entryOf(WindowEntry const& window, std::set<std::string> const& hidden)
{
    auto const identifier = window.owner.identifier(hidden);
    if (!window.ownerPid || !identifier || *identifier == ownBundleIdentifier || hidden.contains(*identifier))
        return std::nullopt;
    return json::object{{"title", window.title},
                        {"bundleId", *identifier},
                        {"appName", window.ownerName},
                        {"frame", frameOf(window.bounds)}};
}

template <class Item>
json::array shownEntries(std::vector<Item> const& items, std::set<std::string> const& hidden)
{
    json::array entries;
    for (Item const& item : items)
        if (auto entry = entryOf(item, hidden))
            entries.push_back(*std::move(entry));
    return entries;
}

} // namespace

Task<json::value> RpcRouter::appsOpen(RpcFrame frame)
{
    return handleOpenApp(std::move(frame), false);
}

/// Never starts an application.
Task<json::value> RpcRouter::appsActivate(RpcFrame frame)
{
    return handleOpenApp(std::move(frame), true);
}

Task<json::value> RpcRouter::handleOpenApp(RpcFrame frame, bool activateOnly)
{
    std::string const bundleId = read::text(frame.params, "bundleId").value_or("");
    std::string const name = read::text(frame.params, "name").value_or("");
    std::string location;
    auto const bundle = co_await on(contexts.workers, [&] {
        location = applicationLocation(members.workspace, bundleId, name).value_or("");
        return location.empty() ? std::nullopt : members.workspace.bundle(location);
    });
    if (!bundle || bundle->identifier.empty())
        throw AgentError::invalidRequest;
    std::set<std::string> const hidden = co_await members.hiddenApps.bundleIds();
    if (hidden.contains(bundle->names.identifier(hidden).value_or(bundle->identifier)))
        throw AgentError::hiddenAppActive;
    auto const caller = co_await connection(frame.connectionId);
    co_await members.recorder.agentActed(frame.connectionId, caller ? caller->platformName : "");
    if (activateOnly && !co_await on(contexts.workers, [&] {
            return isRunning(members.workspace, location, bundle->identifier);
        }))
        throw AgentError::invalidRequest;
    // What ran a moment ago may have ended, or have no window that could come to the front.
    auto const notRunning = activateOnly ? Workspace::NotRunning::isLeft : Workspace::NotRunning::isStarted;
    std::string const openedName = co_await members.workspace.openApplication(location, notRunning);
    if (!co_await isInFront(bundle->identifier, openWait))
        throw co_await notFrontmost(bundle->identifier, std::nullopt);
    co_return json::object{{"ok", true}, {"bundleId", bundle->identifier}, {"name", openedName}};
}

Task<json::value> RpcRouter::handleAppsList(RpcFrame)
{
    std::set<std::string> const hidden = co_await members.hiddenApps.bundleIds();
    auto const running =
        co_await on(contexts.workers, [this] { return members.workspace.runningApplications(); });
    co_return shownEntries(running, hidden);
}

Task<json::value> RpcRouter::handleWindowsList(RpcFrame)
{
    std::set<std::string> const hidden = co_await members.hiddenApps.bundleIds();
    auto const windows = co_await on(contexts.workers, [this] { return members.windows.windows(); });
    if (!windows)
        co_return json::array();
    co_return shownEntries(*windows, hidden);
}

/// Whether something takes the URL is not told: that would tell an agent what is installed.
Task<json::value> RpcRouter::handleOpenUrl(RpcFrame frame)
{
    auto const url = read::text(frame.params, "url");
    if (!url || !isUrl(*url))
        throw AgentError::invalidRequest;
    auto const caller = co_await connection(frame.connectionId);
    co_await members.recorder.agentActed(frame.connectionId, caller ? caller->platformName : "");
    ConfirmationSubject const subject{ConfirmationSubject::OpenUrl{*url}};
    co_await askFirst(subject, caller, confirmationTimeout(frame.params));
    co_await on(contexts.workers, [&] { members.workspace.openUrl(*url); });
    co_return json::object{{"ok", true}};
}

} // namespace zelvo
