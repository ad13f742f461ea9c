#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/base/OpenWork.h"
#include "ZelvoGateway/http/PlaceShares.h"
#include "ZelvoGateway/http/Routes.h"
#include "ZelvoGateway/mcp/transport/McpConversations.h"
#include "ZelvoGateway/mcp/transport/McpHost.h"
#include "ZelvoGateway/mcp/transport/McpHttpSessions.h"
#include "ZelvoGateway/mcp/transport/McpSocket.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zelvo::service {

/// What the endpoint needs of the server.
struct McpEndpointParts {
    std::function<Caller(HttpRequest const& head)> callerOf; ///< throws HttpError
    McpHost& host;
    McpRules const& rules;
    Clock& clock;
    MemoryBudget& memory;
    OpenWork& work; ///< once it closes, sockets take no more requests
    Executor executor;
    Executor workers;
};

/// "/mcp" and "/mcp/CONNECTION": the Model Context Protocol over HTTP. A client that begins with a handshake
/// has a session; requests that say their version themselves need none. A WebSocket at the same paths is one
/// session.
/// Thread: the server's.
class McpEndpoint {
public:
    explicit McpEndpoint(McpEndpointParts parts);

    std::vector<Route> routes();
    /// Ends sessions and conversations that nobody uses any more.
    void runMaintenance();
    /// Ends everything that a key began.
    void endKey(std::string const& key);
    /// Ends the streams that wait for nothing, so that no request stays open for their sake.
    void endListeners();
    /// Ends everything.
    void stop();

private:
    using Handler = Task<HttpResponse> (McpEndpoint::*)(HttpRequest request);

    /// A document on its way to its connection.
    struct Arrival {
        McpTarget target;
        McpAnswerKinds kinds;
        JsonRpcDocument document;
        bool isStateless = false;
        std::shared_ptr<McpHttpSession> session; ///< null if it belongs to none
        PlaceShares::Lease place;
    };

    Route route(std::string_view method, bool namesConnection, Handler handler);
    McpTarget targetOf(HttpRequest const& request) const;
    void assertMayCall(HttpRequest const& head);

    Task<HttpResponse> handlePost(HttpRequest request);
    Task<HttpResponse> handleGet(HttpRequest request);
    Task<HttpResponse> handleDelete(HttpRequest request);
    Upgrade admitSocket(HttpRequest const& head);
    Task<>
    serveSocket(std::shared_ptr<UpgradedConnection> upgraded, McpTarget target, PlaceShares::Lease place);
    bool isReached(McpTarget const& target);
    Task<HttpResponse> answer(Arrival arrival);
    Task<HttpResponse> begin(Arrival arrival);
    Task<HttpResponse> answered(std::shared_ptr<McpHttpExchange> exchange, bool stateless);
    std::shared_ptr<void const> passage(std::shared_ptr<McpConnection> const& connection, std::string key);
    void endPassing(std::function<bool(std::string const& key)> const& isMeant);
    std::shared_ptr<McpHttpSession> sessionOf(HttpRequest const& request, McpTarget const& target);
    std::shared_ptr<McpHttpExchange> newExchange(McpAnswerKinds kinds, McpTarget const& target);
    std::shared_ptr<McpConnection> newConnection(McpTarget const& target, std::shared_ptr<ToolRunner> runner);

    McpEndpointParts parts;
    McpHttpSessions sessions;
    McpConversations conversations;
    PlaceShares requests;
    PlaceShares socketPlaces;
    std::multimap<std::string, std::shared_ptr<McpSocket>> sockets; // By the id of their key.
    // Of requests without a session, with the id of their key. The answers know it weakly, since they may
    // outlive the endpoint.
    using Passing = std::map<std::shared_ptr<McpConnection>, std::string>;
    std::shared_ptr<Passing> passing = std::make_shared<Passing>();
};

} // namespace zelvo::service
