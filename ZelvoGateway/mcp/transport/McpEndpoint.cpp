#include "ZelvoGateway/mcp/transport/McpEndpoint.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/http/HttpError.h"
#include "ZelvoGateway/http/Upgrade.h"
#include "ZelvoGateway/mcp/transport/McpRequest.h"

#include <boost/beast/websocket/rfc6455.hpp>

#include <utility>

namespace zelvo::service {

namespace {

using boost::beast::websocket::close_code;

constexpr char const* sessionHeader = "Mcp-Session-Id";
constexpr std::size_t shareOfKey = 8; // PlaceShares gives an owner an eighth of all.

HttpResponse errorAnswer(int status, JsonRpcDocument const& document, JsonRpcError error)
{
    JsonRpcRequest const* const request = onlyRequestOf(document);
    std::optional<JsonRpcId> const id = request ? std::optional(request->id) : std::nullopt;
    return jsonResponse(status, errorMessage(id, std::move(error)));
}

HttpError tooMany(std::string message)
{
    return {
        .status = 429, .code = ErrorCode::rateLimited, .message = std::move(message), .limit = Refusal::mcp};
}

std::string memoryOwner(McpTarget const& target)
{
    return "key " + target.caller.keyId;
}

} // namespace

McpEndpoint::McpEndpoint(McpEndpointParts parts)
    : parts(std::move(parts)), sessions(this->parts.rules, this->parts.clock),
      conversations(this->parts.host, this->parts.rules, this->parts.clock),
      requests(shareOfKey * this->parts.rules.maxRequests),
      socketPlaces(shareOfKey * this->parts.rules.maxSockets)
{
}

std::vector<Route> McpEndpoint::routes()
{
    std::vector<Route> all;
    for (bool const namesConnection : {false, true}) {
        all.push_back(route("POST", namesConnection, &McpEndpoint::handlePost));
        all.push_back(route("GET", namesConnection, &McpEndpoint::handleGet));
        all.back().upgrade = [this](HttpRequest const& head) { return admitSocket(head); };
        all.push_back(route("DELETE", namesConnection, &McpEndpoint::handleDelete));
    }
    return all;
}

Route McpEndpoint::route(std::string_view method, bool namesConnection, Handler handler)
{
    std::vector<std::string_view> pattern{"mcp"};
    if (namesConnection)
        pattern.emplace_back("*");
    return {.method = method,
            .pattern = std::move(pattern),
            .maxBody = method == "POST" ? JsonRpcLimits().bytes : 0,
            .assertAccess = [this](HttpRequest const& head) { assertMayCall(head); },
            .answer = [this, handler](HttpRequest request,
                                      PathIds const&) { return (this->*handler)(std::move(request)); }};
}

void McpEndpoint::assertMayCall(HttpRequest const& head)
{
    try {
        parts.host.assertReaches(targetOf(head));
    } catch (Failure const& failure) {
        throw httpErrorOf(failure);
    }
}

/// The console's page is no client of this protocol, and callers without a key have no id that tells them
/// apart.
McpTarget McpEndpoint::targetOf(HttpRequest const& request) const
{
    Caller caller = parts.callerOf(request);
    if (caller.isConsole())
        throw HttpError{.status = 401, .code = ErrorCode::unauthorized, .message = "An API key is needed"};
    return {.caller = std::move(caller), .address = mcpAddressOf(request)};
}

Task<HttpResponse> McpEndpoint::handlePost(HttpRequest request)
{
    Arrival arrival{.target = targetOf(request), .kinds = answerKindsOf(request)};
    assertMcpPost(request, arrival.kinds);
    arrival.place = requests.take(arrival.target.caller.keyId);
    if (!arrival.place)
        throw tooMany("Too many requests of this key are open");
    arrival.document = co_await readJsonRpcOn(parts.workers, request.body);
    request.body = std::string();
    arrival.target = targetOf(request); // The key may have been revoked meanwhile.
    if (auto problem = headerProblemOf(request, arrival.document))
        co_return errorAnswer(400, arrival.document, *std::move(problem));
    arrival.isStateless = isStateless(request, arrival.document);
    if (!arrival.isStateless && isHandshake(arrival.document))
        co_return co_await begin(std::move(arrival));
    if (!arrival.isStateless && request.headers.contains("mcp-session-id"))
        arrival.session = sessionOf(request, arrival.target);
    co_return co_await answer(std::move(arrival));
}

/// Answers a handshake, and keeps the session that it begins.
Task<HttpResponse> McpEndpoint::begin(Arrival arrival)
{
    auto const connection = newConnection(arrival.target, parts.host.newRunner(arrival.target));
    auto const exchange = newExchange(arrival.kinds, arrival.target);
    connection->receive(std::move(arrival.document), exchange);
    std::optional<std::string> id;
    if (connection->handshakeVersion()) {
        id = sessions.add(arrival.target, connection);
        if (!id)
            throw tooMany("Too many sessions of this key are in use");
    }
    HttpResponse response = co_await answered(exchange, false);
    if (id)
        response.headers.emplace_back(sessionHeader, *id);
    co_return response;
}

Task<HttpResponse> McpEndpoint::answer(Arrival arrival)
{
    auto const exchange = newExchange(arrival.kinds, arrival.target);
    exchange->hold(std::move(arrival.place));
    std::shared_ptr<McpConnection> connection;
    if (arrival.session) {
        // The calls of a client that goes run on, as the versions with a handshake want it.
        exchange->hold(arrival.session->presence);
        connection = arrival.session->connection;
    } else {
        connection = newConnection(arrival.target, conversations.of(arrival.target));
        exchange->hold(passage(connection, arrival.target.caller.keyId));
    }
    connection->receive(std::move(arrival.document), exchange);
    co_return co_await answered(exchange, arrival.isStateless);
}

/// Ends a connection that serves one request as soon as nobody waits for the answer.
std::shared_ptr<void const> McpEndpoint::passage(std::shared_ptr<McpConnection> const& connection,
                                                 std::string key)
{
    passing->emplace(connection, std::move(key));
    return {connection.get(), [connection, all = std::weak_ptr(passing)](void const*) {
                if (auto const kept = all.lock())
                    kept->erase(connection);
                connection->end();
            }};
}

Task<HttpResponse> McpEndpoint::answered(std::shared_ptr<McpHttpExchange> exchange, bool stateless)
{
    co_await exchange->settle(parts.rules.patience);
    std::function<int(JsonRpcCode)> const statusOf = [stateless](JsonRpcCode code) {
        return httpStatusOf(code, stateless);
    };
    co_return co_await exchange->response(statusOf);
}

/// Opens a stream on which the gateway only says that it lives. Clients of versions with a handshake want it,
/// and some of them leave a server that has none.
Task<HttpResponse> McpEndpoint::handleGet(HttpRequest request)
{
    McpTarget const target = targetOf(request);
    if (!answerKindsOf(request).events)
        throw HttpError{.status = 406,
                        .code = ErrorCode::invalidRequest,
                        .message = R"("Accept" must allow "text/event-stream")"};
    if (!request.headers.contains("mcp-session-id"))
        throw HttpError{.status = 405,
                        .code = ErrorCode::invalidRequest,
                        .message = R"(A GET needs the "Mcp-Session-Id" of a session)"};
    auto const session = sessionOf(request, target);
    auto place = requests.take(target.caller.keyId);
    if (!place)
        throw tooMany("Too many requests of this key are open");
    auto const stream = newExchange({.events = true}, target);
    stream->hold(std::move(place));
    stream->hold(session->presence);
    // A client that connects again may have lost the earlier stream without the gateway's noticing.
    if (auto const earlier = std::exchange(session->listener, stream))
        earlier->finish();
    if (parts.work.isClosing())
        stream->finish();
    co_return stream->eventStream();
}

Task<HttpResponse> McpEndpoint::handleDelete(HttpRequest request)
{
    McpTarget const target = targetOf(request);
    if (!request.headers.contains("mcp-session-id"))
        throw badRequest(R"(A DELETE needs the "Mcp-Session-Id" of a session)");
    sessionOf(request, target);
    sessions.end(request.header("mcp-session-id"));
    co_return HttpResponse{.status = 204, .contentType = ""};
}

Upgrade McpEndpoint::admitSocket(HttpRequest const& head)
{
    McpTarget const target = targetOf(head);
    auto const place = socketPlaces.take(target.caller.keyId);
    if (!place)
        throw tooMany("Too many sockets of this key are open");
    return [this, target, place](std::shared_ptr<UpgradedConnection> connection) {
        return serveSocket(std::move(connection), target, place);
    };
}

Task<> McpEndpoint::serveSocket(std::shared_ptr<UpgradedConnection> upgraded,
                                McpTarget target,
                                PlaceShares::Lease place)
{
    McpSocketParts socket{.work = parts.work,
                          .workers = parts.workers,
                          .memory = parts.memory.partOf(memoryOwner(target)),
                          .mayGoOn = [this, target] { return isReached(target); },
                          .place = std::move(place)};
    auto const served = std::make_shared<McpSocket>(
        std::move(upgraded->stream), newConnection(target, parts.host.newRunner(target)), std::move(socket));
    sockets.emplace(target.caller.keyId, served);
    co_await served->serve(std::move(upgraded->request));
    std::erase_if(sockets, [&](auto const& each) { return each.second == served; });
}

bool McpEndpoint::isReached(McpTarget const& target)
{
    try {
        parts.host.assertReaches(target);
        return true;
    } catch (Failure const&) {
        return false;
    }
}

std::shared_ptr<McpHttpSession> McpEndpoint::sessionOf(HttpRequest const& request, McpTarget const& target)
{
    auto session = sessions.find(request.header("mcp-session-id"), target);
    if (!session)
        throw HttpError{.status = 404,
                        .code = ErrorCode::notFound,
                        .message = "This session has ended, or was never begun here; initialize again"};
    return session;
}

std::shared_ptr<McpHttpExchange> McpEndpoint::newExchange(McpAnswerKinds kinds, McpTarget const& target)
{
    McpExchangeParts exchange{.executor = parts.executor,
                              .workers = parts.workers,
                              .clock = parts.clock,
                              .keepAlive = parts.rules.keepAlive};
    return std::make_shared<McpHttpExchange>(std::move(exchange), kinds,
                                             parts.memory.partOf(memoryOwner(target)));
}

std::shared_ptr<McpConnection> McpEndpoint::newConnection(McpTarget const& target,
                                                          std::shared_ptr<ToolRunner> runner)
{
    return std::make_shared<McpConnection>(parts.host.server(target.address), std::move(runner),
                                           parts.executor);
}

void McpEndpoint::runMaintenance()
{
    sessions.forgetIdle();
    conversations.forgetIdle();
}

void McpEndpoint::endPassing(std::function<bool(std::string const& key)> const& isMeant)
{
    for (auto const& [connection, key] : std::map(*passing)) // Ending one changes the list.
        if (isMeant(key))
            connection->end();
}

void McpEndpoint::endKey(std::string const& key)
{
    sessions.endKey(key);
    conversations.forgetKey(key);
    endPassing([&](std::string const& owner) { return owner == key; });
    auto const [begin, end] = sockets.equal_range(key);
    for (auto const& [owner, socket] : std::vector(begin, end)) // Closing may change the list.
        socket->close(close_code::policy_error, "the key is revoked");
}

void McpEndpoint::endListeners()
{
    sessions.endListeners();
}

void McpEndpoint::stop()
{
    sessions.endAll();
    endPassing([](std::string const&) { return true; });
    for (auto const& [key, socket] : std::vector(sockets.begin(), sockets.end()))
        socket->close(close_code::service_restart, "the gateway is stopping");
}

} // namespace zelvo::service
