#pragma once

#include "ZelvoGateway/api/Endpoints.h"
#include "ZelvoGateway/control/ConnectionService.h"
#include "ZelvoGateway/control/LinkService.h"

#include <vector>

namespace zelvo::service {

/// "/v1": end users, links, connections and machines. Thread: the server's.
class PlatformApi {
public:
    PlatformApi(AccessControl const& access,
                LinkService& links,
                ConnectionService& connections,
                Limits const& limits)
        : endpoints(access), access(access), links(links), connections(connections), limits(limits)
    {
    }

    std::vector<Route> routes();

private:
    Task<HttpResponse> handleAddEndUser(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleEndUsers(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleEndUser(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleAddLinkSession(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleLinkSessions(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleLinkSession(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleConnections(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleConnection(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleRevoke(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleMachines(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleMachine(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleRemoveMachine(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleCloudMachines(HttpRequest request, PathIds ids);

    Endpoints endpoints;
    AccessControl const& access;
    LinkService& links;
    ConnectionService& connections;
    Limits const& limits;
};

} // namespace zelvo::service
