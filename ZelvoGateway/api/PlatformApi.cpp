#include "ZelvoGateway/api/PlatformApi.h"

#include "ZelvoGateway/control/MachineView.h"

namespace zelvo::service {

std::vector<Route> PlatformApi::routes()
{
    std::size_t const body = limits.smallBody;
    auto const route = [&](std::string_view method, std::vector<std::string_view> pattern,
                           Endpoints::Method<PlatformApi> handler) {
        return endpoints.platform(method, std::move(pattern), body, *this, handler);
    };
    return {route("POST", {"v1", "end-users"}, &PlatformApi::handleEndUsers),
            route("POST", {"v1", "link-sessions"}, &PlatformApi::handleLinkSessions),
            route("GET", {"v1", "connections"}, &PlatformApi::handleConnections),
            route("DELETE", {"v1", "connections", "*"}, &PlatformApi::handleRevoke),
            route("GET", {"v1", "machines", "*"}, &PlatformApi::handleMachine),
            route("DELETE", {"v1", "machines", "*"}, &PlatformApi::handleRemoveMachine),
            route("POST", {"v1", "cloud-machines"}, &PlatformApi::handleCloudMachines)};
}

Task<HttpResponse> PlatformApi::handleEndUsers(HttpRequest request, PathIds)
{
    auto const user = recordIn<records::CreateEndUserRequest>(request.body);
    co_return jsonResponse(201, records::toJson(links.addEndUser(user)));
}

Task<HttpResponse> PlatformApi::handleLinkSessions(HttpRequest request, PathIds)
{
    auto const wanted = recordIn<records::CreateLinkSessionRequest>(request.body);
    co_return jsonResponse(201, records::toJson(links.createSession(wanted)));
}

Task<HttpResponse> PlatformApi::handleConnections(HttpRequest, PathIds)
{
    json::array data;
    for (ConnectionState const& state : connections.connections())
        data.push_back(records::toJson(connectionRecord(state)));
    co_return jsonResponse(200, json::object{{"data", std::move(data)}});
}

Task<HttpResponse> PlatformApi::handleRevoke(HttpRequest, PathIds ids)
{
    ConnectionState const revoked = co_await connections.revoke(std::move(ids.front()));
    co_return jsonResponse(200, records::toJson(connectionRecord(revoked)));
}

Task<HttpResponse> PlatformApi::handleMachine(HttpRequest, PathIds ids)
{
    co_return jsonResponse(200, records::toJson(machineRecord(connections.machine(ids.front()))));
}

Task<HttpResponse> PlatformApi::handleRemoveMachine(HttpRequest, PathIds ids)
{
    co_await connections.removeMachine(std::move(ids.front()));
    co_return jsonResponse(200, json::object{{"ok", true}});
}

Task<HttpResponse> PlatformApi::handleCloudMachines(HttpRequest request, PathIds)
{
    json::object const wanted = request.body.empty() ? json::object() : objectOf(request.body);
    auto const made = links.provision(read::text(wanted, "endUserId").value_or("local"));
    co_return jsonResponse(201, json::object{{"machineId", made.machine.machineId},
                                             {"machineToken", made.machine.token},
                                             {"connectionId", made.connectionId}});
}

} // namespace zelvo::service
