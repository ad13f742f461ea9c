#include "state/AgentStatus.h"

#include "base/LocalizedTexts.h"
#include "base/Text.h"
#include "state/AgentState.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zelvo {

namespace {

using Action = AgentStatus::Action;
using Kind = GatewayConnectionState::Kind;

constexpr std::size_t maxPlatformName = 80; // Characters.

AgentStatus quiet(std::string_view title, std::string detail, Action action)
{
    return {.title = localized(title), .detail = std::move(detail), .action = action};
}

AgentStatus problem(std::string_view title, std::string detail, Action action)
{
    return {.title = localized(title), .detail = std::move(detail), .isProblem = true, .action = action};
}

std::string readyDetail(ConnectionMap const& connections)
{
    if (connections.empty())
        return localized("status.ready.none");
    if (connections.size() == 1)
        return localized("status.ready.one",
                         {text::shownInLine(connections.begin()->second.platformName, maxPlatformName)});
    return localized("status.ready.many", {static_cast<std::int64_t>(connections.size())});
}

AgentStatus connected(AgentState const& state, Permissions const& permissions)
{
    if (state.isPaused())
        return {.title = localized("status.paused"),
                .detail = localized("status.paused.detail"),
                .mark = ZelvoMark::State::paused,
                .action = Action::resume};
    switch (state.availability()) {
    case Availability::asleep:
        return quiet("menu.status.asleep", localized("status.asleep.detail"), Action::pause);
    case Availability::noGUISession:
        return quiet("menu.status.noSession", localized("status.noSession.detail"), Action::pause);
    case Availability::screenLocked:
        return quiet("menu.status.locked", localized("status.locked.detail"), Action::pause);
    case Availability::ready:
        break;
    }
    if (!permissions.accessibility || !permissions.screenRecording)
        return problem("status.needsPermissions", localized("status.needsPermissions.detail"),
                       Action::permissions);
    if (state.isAgentWorking())
        return {.title = localized("status.working"),
                .detail = localized("status.working.detail"),
                .mark = ZelvoMark::State::working,
                .action = Action::pause};
    return quiet("status.ready", readyDetail(state.connections()), Action::pause);
}

} // namespace

AgentStatus
AgentStatus::current(AgentState const& state, Permissions const& permissions, UpdateSource updates)
{
    GatewayConnectionState const& gateway = state.gateway();
    std::string const detail = gateway.detail(updates).value_or("");
    switch (gateway.kind) {
    case Kind::retrying:
        return problem("status.offline", detail, Action::reconnectNow);
    case Kind::notLinked:
        return quiet("status.notLinked", localized("gateway.notLinked.detail"), Action::connect);
    case Kind::connecting:
        return quiet("gateway.connecting", "", Action::none);
    case Kind::tokenRejected:
        return problem("gateway.tokenRejected", detail, Action::relink);
    case Kind::updateRequired:
        return problem("gateway.updateRequired", detail,
                       updates == UpdateSource::itself ? Action::update : Action::none);
    case Kind::connected:
        break;
    }
    return connected(state, permissions);
}

std::optional<std::string> AgentStatus::actionTitle() const
{
    switch (action) {
    case Action::pause:
        return localized("menu.pause");
    case Action::resume:
        return localized("menu.resume");
    case Action::reconnectNow:
        return localized("common.reconnectNow");
    case Action::relink:
        return localized("common.relink");
    case Action::update:
        return localized("status.action.update");
    case Action::connect:
        return localized("status.action.connect");
    case Action::permissions:
        return localized("status.action.permissions");
    case Action::none:
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace zelvo
