#include "ZelvoGateway/api/PlatformApi.h"

#include "ZelvoGateway/api/Lists.h"
#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/control/MachineView.h"

namespace zelvo::service {

std::vector<Route> PlatformApi::routes()
{
    std::size_t const body = limits.smallBody;
    auto const route = [&](std::string_view method, std::vector<std::string_view> pattern,
                           Endpoints::Method<PlatformApi> handler) {
        return endpoints.platform(method, std::move(pattern), body, *this, handler);
    };
    return {route("POST", {"v1", "end-users"}, &PlatformApi::handleAddEndUser),
            route("GET", {"v1", "end-users"}, &PlatformApi::handleEndUsers),
            route("GET", {"v1", "end-users", "*"}, &PlatformApi::handleEndUser),
            route("POST", {"v1", "link-sessions"}, &PlatformApi::handleAddLinkSession),
            route("GET", {"v1", "link-sessions"}, &PlatformApi::handleLinkSessions),
            route("GET", {"v1", "link-sessions", "*"}, &PlatformApi::handleLinkSession),
            route("GET", {"v1", "connections"}, &PlatformApi::handleConnections),
            route("GET", {"v1", "connections", "*"}, &PlatformApi::handleConnection),
            route("DELETE", {"v1", "connections", "*"}, &PlatformApi::handleRevoke),
            route("GET", {"v1", "machines"}, &PlatformApi::handleMachines),
            route("GET", {"v1", "machines", "*"}, &PlatformApi::handleMachine),
            route("DELETE", {"v1", "machines", "*"}, &PlatformApi::handleRemoveMachine),
            route("POST", {"v1", "cloud-machines"}, &PlatformApi::handleCloudMachines)};
}

Task<HttpResponse> PlatformApi::handleAddEndUser(HttpRequest request, PathIds)
{
    auto const user = recordIn<records::CreateEndUserRequest>(request.body);
    co_return jsonResponse(201, records::toJson(links.addEndUser(access.callerOf(request), user)));
}

Task<HttpResponse> PlatformApi::handleEndUsers(HttpRequest request, PathIds)
{
    auto const page = links.endUsers(access.callerOf(request), pageQueryIn(request));
    co_return listResponse<records::EndUserList>(page, [](records::EndUser const& user) { return user; });
}

Task<HttpResponse> PlatformApi::handleEndUser(HttpRequest request, PathIds ids)
{
    co_return jsonResponse(200, records::toJson(links.endUser(access.callerOf(request), ids.front())));
}

Task<HttpResponse> PlatformApi::handleAddLinkSession(HttpRequest request, PathIds)
{
    auto const wanted = recordIn<records::CreateLinkSessionRequest>(request.body);
    // Browsers look for "localhost" at other addresses, too, where the page may be another user's.
    auto const home = access.homeOfLocalPage(request);
    auto const made =
        links.createSession(access.callerOf(request), wanted, home ? *home : access.addressFor(request));
    co_return jsonResponse(201, records::toJson(made));
}

Task<HttpResponse> PlatformApi::handleLinkSessions(HttpRequest request, PathIds)
{
    auto const page = links.sessions(access.callerOf(request), pageQueryIn(request));
    co_return listResponse<records::LinkSessionList>(
        page, [](StoredLinkSession const& session) { return linkSessionRecord(session, today()); });
}

Task<HttpResponse> PlatformApi::handleLinkSession(HttpRequest request, PathIds ids)
{
    StoredLinkSession const session = links.session(access.callerOf(request), ids.front());
    co_return jsonResponse(200, records::toJson(linkSessionRecord(session, today())));
}

Task<HttpResponse> PlatformApi::handleConnections(HttpRequest request, PathIds)
{
    auto const page = connections.connections(access.callerOf(request), pageQueryIn(request));
    co_return listResponse<records::ConnectionList>(page, connectionRecord);
}

Task<HttpResponse> PlatformApi::handleConnection(HttpRequest request, PathIds ids)
{
    ConnectionState const state = connections.connection(access.callerOf(request), ids.front());
    co_return jsonResponse(200, records::toJson(connectionRecord(state)));
}

Task<HttpResponse> PlatformApi::handleRevoke(HttpRequest request, PathIds ids)
{
    Caller caller = access.callerOf(request);
    ConnectionState const revoked = co_await connections.revoke(std::move(caller), std::move(ids.front()));
    co_return jsonResponse(200, records::toJson(connectionRecord(revoked)));
}

Task<HttpResponse> PlatformApi::handleMachines(HttpRequest request, PathIds)
{
    auto const page = connections.machinePage(access.callerOf(request), pageQueryIn(request));
    co_return listResponse<records::MachineList>(page, machineEntry);
}

Task<HttpResponse> PlatformApi::handleMachine(HttpRequest request, PathIds ids)
{
    MachineState const state = connections.machine(access.callerOf(request), ids.front());
    co_return jsonResponse(200, records::toJson(machineRecord(state)));
}

Task<HttpResponse> PlatformApi::handleRemoveMachine(HttpRequest request, PathIds ids)
{
    Caller caller = access.callerOf(request);
    co_await connections.removeMachine(std::move(caller), std::move(ids.front()));
    co_return jsonResponse(200, json::object{{"ok", true}});
}

Task<HttpResponse> PlatformApi::handleCloudMachines(HttpRequest request, PathIds)
{
    json::object const wanted = request.body.empty() ? json::object() : objectOf(request.body);
    auto const made =
        links.provision(access.callerOf(request), read::text(wanted, "endUserId").value_or("local"));
    co_return jsonResponse(201, json::object{{"machineId", made.machine.machineId},
                                             {"machineToken", made.machine.token},
                                             {"connectionId", made.connectionId}});
}

} // namespace zelvo::service
