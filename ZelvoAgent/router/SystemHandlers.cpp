#include "router/SystemHandlers.h"

#include "base/Hop.h"
#include "wire/AgentError.h"
#include "wire/records/Heartbeat.h"
#include "wire/records/SystemCommands.h"

namespace zelvo {

namespace {

json::value ok()
{
    return records::toJson(records::Done{});
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

// The table takes no handler that is const.
// NOLINTNEXTLINE(readability-make-member-function-const)
Task<json::value> SystemHandlers::permissions(Admission)
{
    co_return records::toJson(services.permissions());
}

/// No grant arrives over this channel: only the person gives one.
Task<json::value> SystemHandlers::grantConnection(Admission)
{
    throw AgentError::scopeDenied;
    co_return nullptr;
}

Task<json::value> SystemHandlers::revokeConnection(Admission admission)
{
    if (auto const id = read::text(admission.frame.params, "connectionId")) {
        co_await on(services.main, [&] { services.state.revoke(*id); });
        co_await services.state.written();
    }
    co_return ok();
}

Task<json::value> SystemHandlers::updateAgents(Admission admission)
{
    ComputerAgents agents = ComputerAgents::parse(admission.frame.params, services.clock.date());
    co_await on(services.main, [&] { services.state.setLiveAgents(std::move(agents)); });
    co_return ok();
}

Task<json::value> SystemHandlers::nameConnections(Admission admission)
{
    json::array const* const connections = read::array(admission.frame.params, "connections");
    if (!connections)
        throw AgentError::invalidRequest;
    std::map<std::string, std::string> const names = namesFrom(*connections);
    co_await on(services.main, [&] { services.state.renameConnections(names); });
    co_return ok();
}

/// The person decides later, or has decided once and for all.
Task<json::value> SystemHandlers::takeOffer(Admission admission)
{
    auto offer = QueuedCommandsOffer::parse(admission.frame.params);
    if (!offer)
        throw AgentError::internalError;
    services.offers.deliver(*std::move(offer));
    co_return ok();
}

} // namespace zelvo
