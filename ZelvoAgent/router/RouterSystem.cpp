#include "base/Hop.h"
#include "router/RpcRouter.h"

namespace zelvo {

namespace {

json::value ok()
{
    return json::object{{"ok", true}};
}

/// The new names by connection id; of two for one id the later wins.
std::map<std::string, std::string> namesFrom(json::array const& connections)
{
    std::map<std::string, std::string> names;
    for (json::value const& item : connections) {
        json::object const* const object = item.if_object();
        if (!object)
            continue;
        auto const id = read::text(*object, "connectionId");
        auto const name = read::text(*object, "platformName");
        if (id && name)
            names.insert_or_assign(*id, *name);
    }
    return names;
}

} // namespace

Task<json::value> RpcRouter::permissionsGet(RpcFrame)
{
    Permissions const permissions = members.permissions();
    co_return json::object{{"screenRecording", permissions.screenRecording},
                           {"accessibility", permissions.accessibility}};
}

/// No grant arrives over this channel: only the person gives one.
Task<json::value> RpcRouter::connectionGrant(RpcFrame)
{
    throw AgentError::scopeDenied;
    co_return nullptr;
}

Task<json::value> RpcRouter::connectionRevoke(RpcFrame frame)
{
    if (auto const id = read::text(frame.params, "connectionId")) {
        co_await on(contexts.main, [&] { state.revoke(*id); });
        co_await state.written();
    }
    co_return ok();
}

Task<json::value> RpcRouter::agentsUpdate(RpcFrame frame)
{
    ComputerAgents agents = ComputerAgents::parse(frame.params, clock.date());
    co_await on(contexts.main, [&] { state.setLiveAgents(std::move(agents)); });
    co_return ok();
}

Task<json::value> RpcRouter::connectionsNames(RpcFrame frame)
{
    json::array const* const connections = read::array(frame.params, "connections");
    if (!connections)
        throw AgentError::invalidRequest;
    std::map<std::string, std::string> const names = namesFrom(*connections);
    co_await on(contexts.main, [&] { state.renameConnections(names); });
    co_return ok();
}

/// The person decides later, or has decided once and for all.
Task<json::value> RpcRouter::queueOffer(RpcFrame frame)
{
    auto offer = QueuedCommandsOffer::parse(frame.params);
    if (!offer)
        throw AgentError::internalError;
    members.offers.deliver(*std::move(offer));
    co_return ok();
}

} // namespace zelvo
