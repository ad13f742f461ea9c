#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "router/HandlerTable.h"
#include "state/AgentState.h"
#include "state/QueueOfferInbox.h"
#include "wire/Permissions.h"

#include <array>
#include <functional>

namespace zelvo {

/// Permissions, and what the gateway says on its own account: connections, live agents, queued commands.
/// Thread: the router's strand.
class SystemHandlers {
    Task<json::value> permissions(Admission admission);
    Task<json::value> grantConnection(Admission admission);
    Task<json::value> revokeConnection(Admission admission);
    Task<json::value> updateAgents(Admission admission);
    Task<json::value> nameConnections(Admission admission);
    Task<json::value> takeOffer(Admission admission);

public:
    static constexpr std::array<HandlerRow<SystemHandlers>, 6> rows = {{
        {"permissions.get", &SystemHandlers::permissions},
        {"connection.grant", &SystemHandlers::grantConnection},
        {"connection.revoke", &SystemHandlers::revokeConnection},
        {"agents.update", &SystemHandlers::updateAgents},
        {"connections.names", &SystemHandlers::nameConnections},
        {"queue.offer", &SystemHandlers::takeOffer},
    }};

    struct Services {
        Executor main;
        Clock& clock;
        AgentState& state;
        QueueOfferInbox const& offers;
        std::function<Permissions()> permissions;
    };

    explicit SystemHandlers(Services services) : services(std::move(services)) {}

private:
    Services services;
};

} // namespace zelvo
