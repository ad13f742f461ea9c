#include "state/AgentState.h"

#include "base/Identifiers.h"
#include "base/LocalizedTexts.h"
#include "base/Text.h"
#include "state/ActivityWording.h"
#include "state/StoredList.h"
#include "wire/AgentError.h"

#include <boost/asio/this_coro.hpp>

#include <algorithm>
#include <limits>

namespace zelvo {

namespace {

constexpr std::string_view connectionsKey = "zelvo.connections";
constexpr std::string_view activityKey = "zelvo.activity";
constexpr std::string_view historyKey = "zelvo.availabilityHistory";
constexpr std::string_view cursorKey = "zelvo.showAgentCursor";

constexpr std::chrono::microseconds lookWindow = 120s; // Date's unit: nanoseconds overflow on remote dates.
constexpr Duration workingAfterglow = 3s;
constexpr std::size_t maxNameLength = 200;

} // namespace

AgentState::AgentState(Services services)
    : services(std::move(services)), workingEnd(this->services.main, this->services.clock)
{
}

bool AgentState::showAgentCursor() const
{
    return services.defaults.boolean(cursorKey).value_or(true);
}

void AgentState::setShowAgentCursor(bool value)
{
    services.defaults.setBoolean(cursorKey, value);
    changed();
}

void AgentState::setKeepAwakeWhileWorking(bool value)
{
    if (std::exchange(keepsAwake, value) != value)
        changed();
}

void AgentState::startObserving()
{
    if (isObserving)
        return;
    isObserving = true;
    granted =
        decodeConnections(services.defaults.bytes(connectionsKey).value_or("")).value_or(ConnectionMap{});
    mirrorConnections();
    journal = ActivityLog::decoded(services.defaults.bytes(activityKey).value_or(""));
    history = stored::decodeList<AvailabilityChange>(services.defaults.bytes(historyKey).value_or(""))
                  .value_or(std::vector<AvailabilityChange>{});
    observeSession();
    refreshAvailability();
    services.refreshDisplay();
    services.screen.observeScreens(services.refreshDisplay);
    changed();
}

void AgentState::observeSession()
{
    services.session.observe([this, weak = std::weak_ptr(alive)](SessionEvent event) {
        if (weak.expired())
            return;
        // These two events set the state directly, because the session may not report the change yet.
        if (event == SessionEvent::willSleep)
            setAvailability(Availability::asleep);
        else if (event == SessionEvent::screenLocked)
            setAvailability(Availability::screenLocked);
        else
            refreshAvailability();
    });
}

void AgentState::refreshAvailability()
{
    setAvailability(currentAvailability());
}

void AgentState::setAvailability(Availability next)
{
    Availability const old = std::exchange(present, next);
    mirror.change([&](StateMirror& state) { state.availability = next; });
    if (old == next)
        return;
    history.insert(history.begin(), AvailabilityChange{newUuid(), services.clock.date(), old, next});
    if (history.size() > maxAvailabilityChanges)
        history.resize(maxAvailabilityChanges);
    services.defaults.setBytes(historyKey, stored::encodeList(history));
    log({.platform = localized("activity.thisMac"),
         .summary = ActivityWording::availability(old, next),
         .kind = ActivityKind::mac});
}

void AgentState::setPaused(bool value)
{
    bool const old = std::exchange(paused, value);
    mirror.change([&](StateMirror& state) { state.paused = value; });
    if (old == value)
        return;
    if (onPauseChanged)
        onPauseChanged(value);
    changed();
}

ActivityEntry AgentState::newEntry(LogLine line) const
{
    ActivityEntry entry;
    entry.id = newUuid();
    entry.at = services.clock.date();
    entry.platformName = std::move(line.platform);
    entry.summary = std::move(line.summary);
    entry.kind = line.kind;
    entry.connectionId = std::move(line.connectionId);
    entry.note = std::move(line.note);
    entry.detail = std::move(line.detail);
    entry.agentName = std::move(line.agentName);
    entry.cwd = std::move(line.cwd);
    entry.env = std::move(line.env);
    return entry;
}

void AgentState::log(LogLine line)
{
    journal.add(newEntry(std::move(line)));
    persistActivity();
    changed();
}

bool AgentState::mergesWithNewest(std::optional<std::string> const& connectionId,
                                  std::optional<std::string> const& agentName,
                                  Date at) const
{
    if (activity().empty())
        return false;
    ActivityEntry const& newest = activity().front();
    return newest.kind == ActivityKind::screen && newest.connectionId == connectionId &&
           newest.agentName == agentName && at - newest.at < lookWindow;
}

void AgentState::logLooked(std::string platform,
                           std::optional<std::string> connectionId,
                           std::optional<std::string> agentName,
                           Date at)
{
    if (mergesWithNewest(connectionId, agentName, at)) {
        ActivityEntry entry = activity().front();
        std::int64_t const count = entry.count.value_or(1);
        entry.count = count < std::numeric_limits<std::int64_t>::max() ? count + 1 : count;
        entry.at = at;
        journal.replace(0, std::move(entry));
    } else {
        ActivityEntry entry = newEntry({.platform = std::move(platform),
                                        .summary = localized("activity.looked"),
                                        .kind = ActivityKind::screen,
                                        .connectionId = std::move(connectionId),
                                        .agentName = std::move(agentName)});
        entry.at = at;
        journal.add(std::move(entry));
    }
    persistActivity();
    changed();
}

void AgentState::grant(GrantedConnection connection)
{
    LogLine line{.platform = connection.platformName,
                 .summary = localized("activity.connectionGranted"),
                 .kind = ActivityKind::connection,
                 .connectionId = connection.id,
                 .note = shortList(connection.scopes)};
    std::string id = connection.id;
    granted.insert_or_assign(std::move(id), std::move(connection));
    mirrorConnections();
    persistConnections();
    log(std::move(line));
}

void AgentState::revoke(std::string const& id)
{
    auto const entry = granted.find(id);
    if (entry == granted.end())
        return;
    LogLine line{.platform = entry->second.platformName,
                 .summary = localized("activity.connectionRevoked"),
                 .kind = ActivityKind::connection,
                 .connectionId = id};
    granted.erase(entry);
    mirrorConnections();
    persistConnections();
    log(std::move(line));
}

void AgentState::forgetConnections()
{
    if (granted.empty())
        return;
    granted.clear();
    mirrorConnections();
    persistConnections();
    log({.platform = localized("activity.thisMac"),
         .summary = localized("activity.connectionsReset"),
         .kind = ActivityKind::connection});
}

void AgentState::renameConnections(std::map<std::string, std::string> const& names)
{
    std::map<std::string, std::string> byId;
    std::map<std::string, std::string> byOldName;
    for (auto const& [id, given] : names) {
        std::string const name = text::trimmed(given);
        auto const connection = granted.find(id);
        if (name.empty() || text::characterCount(name) > maxNameLength || connection == granted.end())
            continue;
        byId[id] = name;
        std::string& oldName = connection->second.platformName;
        if (oldName != name)
            byOldName[std::exchange(oldName, name)] = name;
    }
    bool entryChanged = false;
    for (std::size_t i = 0; i < activity().size(); ++i) {
        ActivityEntry entry = activity()[i];
        auto renamed = entry.connectionId ? byId.find(*entry.connectionId) : byId.end();
        if (renamed == byId.end()) {
            renamed = byOldName.find(entry.platformName);
            if (renamed == byOldName.end())
                continue;
        }
        if (renamed->second == entry.platformName)
            continue;
        entry.platformName = renamed->second;
        journal.replace(i, std::move(entry));
        entryChanged = true;
    }
    if (!byOldName.empty())
        persistConnections();
    if (entryChanged)
        persistActivity();
    if (entryChanged || !byOldName.empty())
        changed();
}

std::optional<GrantedConnection> AgentState::connection(std::optional<std::string> const& id) const
{
    auto const entry = id ? granted.find(*id) : granted.end();
    if (entry == granted.end())
        return std::nullopt;
    return entry->second;
}

void AgentState::setScopes(std::vector<AgentScope> scopes, std::string const& id)
{
    if (auto const entry = granted.find(id); entry != granted.end())
        entry->second.scopes = std::move(scopes);
    persistConnections();
    changed();
}

void AgentState::setShareRecordings(std::optional<bool> share, std::string const& id)
{
    if (auto const entry = granted.find(id); entry != granted.end())
        entry->second.shareRecordings = share;
    persistConnections();
    changed();
}

void AgentState::assertScope(AgentScope scope, std::optional<std::string> const& id) const
{
    auto const entry = id ? granted.find(*id) : granted.end();
    if (entry == granted.end() || !entry->second.holds(scope))
        throw AgentError::scopeDenied;
}

void AgentState::assertReady() const
{
    if (paused)
        throw AgentError::machinePaused;
    if (present != Availability::ready)
        throw AgentError::machineUnavailable;
}

void AgentState::markWorking()
{
    working = true;
    workingEnd.in(workingAfterglow, [this] {
        working = false;
        changed();
    });
    changed();
}

void AgentState::setLiveAgents(ComputerAgents next)
{
    if (agents == next)
        return;
    agents = std::move(next);
    changed();
}

void AgentState::setGatewayState(GatewayConnectionState next)
{
    if (next == link)
        return;
    GatewayConnectionState const old = std::exchange(link, std::move(next));
    if (!link.isConnected())
        setLiveAgents(ComputerAgents::none());
    logGatewayChange(old);
    changed();
}

void AgentState::logGatewayChange(GatewayConnectionState const& old)
{
    using Kind = GatewayConnectionState::Kind;
    LogLine line{.platform = localized("activity.server"), .summary = {}, .kind = ActivityKind::server};
    if (link.kind == Kind::tokenRejected && old.kind != Kind::tokenRejected) {
        line.summary = localized("activity.tokenRejected");
    } else if (link.kind == Kind::updateRequired && old.kind != Kind::updateRequired) {
        line.summary = localized("activity.updateRequired");
    } else if (link.kind == Kind::retrying && old.kind == Kind::connected) {
        line.summary = localized("activity.connectionLost");
        line.note = link.reason;
    } else if (link.kind == Kind::connected && (old.kind == Kind::connecting || old.kind == Kind::retrying)) {
        line.summary = localized("activity.connected");
    } else {
        return;
    }
    log(std::move(line));
}

void AgentState::mirrorConnections()
{
    std::vector<std::string> ids;
    for (auto const& [id, connection] : granted)
        ids.push_back(id);
    mirror.change([&](StateMirror& state) { state.grantedConnectionIds = std::move(ids); });
}

void AgentState::persistConnections()
{
    services.defaults.setBytes(connectionsKey, encodeConnections(granted));
}

void AgentState::persistActivity()
{
    services.defaults.setBytes(activityKey, journal.encoded());
}

} // namespace zelvo
