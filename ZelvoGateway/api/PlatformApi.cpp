#include "ZelvoGateway/api/PlatformApi.h"

#include "ZelvoGateway/api/Lists.h"
#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/control/MachineView.h"
#include "wire/records/SystemCommands.h"

namespace zelvo::service {

std::vector<Route> PlatformApi::routes()
{
    std::size_t const body = limits.smallBody;
    auto const route = [&](std::string_view method, std::vector<std::string_view> pattern,
                           Endpoints::Method<PlatformApi> handler, Describe const& description) {
        return endpoints.platform(method, std::move(pattern), body, *this, handler, description);
    };
    std::vector<ErrorCode> const unknown{ErrorCode::notFound};
    json::object const cloudMachine{
        {"type", "object"},
        {"properties", {{"endUserId", {{"type", "string"}, {"description", "\"local\" if it is missing"}}}}}};
    return {
        route("POST", {"v1", "end-users"}, &PlatformApi::handleAddEndUser,
              Describe("addEndUser", "Adds an end user, or updates the one with the same externalId")
                  .takes<records::CreateEndUserRequest>()
                  .gives<records::EndUser>("The end user", 201)),
        route("GET", {"v1", "end-users"}, &PlatformApi::handleEndUsers,
              Describe("listEndUsers", "Lists end users, newest first")
                  .listed({{"externalId", "Only the end user with this external id"}})
                  .gives<records::EndUserList>("A page")),
        route("GET", {"v1", "end-users", "*"}, &PlatformApi::handleEndUser,
              Describe("getEndUser", "Shows an end user")
                  .at({"endUserId"})
                  .gives<records::EndUser>("The end user")
                  .fails(unknown)),
        route("POST", {"v1", "link-sessions"}, &PlatformApi::handleAddLinkSession,
              Describe("addLinkSession", "Makes a link for a person, which works once")
                  .takes<records::CreateLinkSessionRequest>()
                  .gives<records::LinkSession>("The link and its code", 201)),
        route("GET", {"v1", "link-sessions"}, &PlatformApi::handleLinkSessions,
              Describe("listLinkSessions", "Lists link sessions, newest first")
                  .listed({{"endUserId", "Only those of this end user"}})
                  .gives<records::LinkSessionList>("A page")),
        route("GET", {"v1", "link-sessions", "*"}, &PlatformApi::handleLinkSession,
              Describe("getLinkSession", "Shows what became of a link")
                  .at({"linkSessionId"})
                  .gives<records::LinkSessionState>("The link session")
                  .fails(unknown)),
        route("GET", {"v1", "connections"}, &PlatformApi::handleConnections,
              Describe("listConnections", "Lists connections, newest first, the revoked ones too")
                  .listed({{"endUserId", "Only those of this end user"},
                           {"machineId", "Only those of this machine"}})
                  .gives<records::ConnectionList>("A page")),
        route("GET", {"v1", "connections", "*"}, &PlatformApi::handleConnection,
              Describe("getConnection", "Shows a connection and its machine")
                  .at({"connectionId"})
                  .gives<records::Connection>("The connection")
                  .fails(unknown)),
        route("DELETE", {"v1", "connections", "*"}, &PlatformApi::handleRevoke,
              Describe("revokeConnection", "Ends a connection for good")
                  .at({"connectionId"})
                  .gives<records::Connection>("The revoked connection")
                  .fails(unknown)),
        route("GET", {"v1", "machines"}, &PlatformApi::handleMachines,
              Describe("listMachines", "Lists machines, newest first")
                  .listed()
                  .gives<records::MachineList>("A page")),
        route("GET", {"v1", "machines", "*"}, &PlatformApi::handleMachine,
              Describe("getMachine", "Shows a machine")
                  .at({"machineId"})
                  .gives<records::Machine>("The machine")
                  .fails(unknown)),
        route("DELETE", {"v1", "machines", "*"}, &PlatformApi::handleRemoveMachine,
              Describe("removeMachine", "Forgets a machine and everything that belongs to it")
                  .at({"machineId"})
                  .gives<records::Done>("Done")
                  .fails(unknown)),
        route("POST", {"v1", "cloud-machines"}, &PlatformApi::handleCloudMachines,
              Describe("addCloudMachine", "Makes the token and the connection of an unattended machine")
                  .takes(cloudMachine, {}, true)
                  .gives<records::ProvisionedMachine>("The machine; its token is never shown again", 201))};
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
    co_return jsonResponse(200, records::toJson(records::Done()));
}

Task<HttpResponse> PlatformApi::handleCloudMachines(HttpRequest request, PathIds)
{
    json::object const wanted = request.body.empty() ? json::object() : objectOf(request.body);
    auto const made =
        links.provision(access.callerOf(request), read::text(wanted, "endUserId").value_or("local"));
    records::ProvisionedMachine record{.connectionId = made.connectionId,
                                       .machineId = made.machine.machineId,
                                       .machineToken = made.machine.token};
    co_return jsonResponse(201, records::toJson(std::move(record)));
}

} // namespace zelvo::service
