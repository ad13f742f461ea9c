#include "ZelvoGateway/http/BeastHttpSession.h"
#include "ZelvoGateway/http/BodyPieces.h"
#include "ZelvoGateway/http/RequestCaller.h"
#include "ZelvoGateway/http/RequestId.h"
#include "ZelvoGateway/http/RequestRefusals.h"

#include <boost/beast/websocket/rfc6455.hpp>

namespace zelvo::service {

namespace {

constexpr std::size_t memoryFactor = 2; // The body, and what is parsed from it or written of that.

} // namespace

/// Decides by the head alone, before a byte of the body is read. Throws HttpError.
void BeastHttpSession::admit(HeadParser const& head, Entry& entry)
{
    entry.request = headOf(head->get(), localAddress);
    takeRequestId(entry.request);
    identify(entry.request);
    wantsTlsOnly = stream.hasTls() && parts.routes.isAtSecureName(entry.request);
    headOnly = entry.request.method == "HEAD";
    entry.admission = parts.routes.admit(entry.request);
    route = entry.admission.route;
    assertServed();
    if (parts.requestLimits && parts.access && entry.admission.isPlatform)
        ofKey = parts.requestLimits->admitKey(parts.access->callerOf(entry.request).keyId);
    if (entry.admission.isPlatform || route->isForMachines)
        beginWork();
    if (entry.admission.isPlatform)
        waiting.reset();
    else if (route->isForMachines)
        keepPlace(entry.request.header("authorization"));
    if (!route->upgrade || !boost::beast::websocket::is_upgrade(head->get())) {
        admitBody(head, entry);
        return;
    }
    entry.upgrade = route->upgrade(entry.request);
    if (buffer.size() > 0) // They would be lost on the way to the WebSocket.
        throw badRequest("Frames may only follow the answer");
}

/// From here on the header holds the id of the request in any case, for those who write logs.
void BeastHttpSession::takeRequestId(HttpRequest& request)
{
    if (std::string id = request.header("x-request-id"); isUsableRequestId(id))
        requestId = std::move(id);
    request.headers.erase("x-request-id");
    request.headers.emplace("x-request-id", requestId);
}

/// Throws HttpError while the gateway stops.
void BeastHttpSession::assertServed() const
{
    if (parts.work.isClosing() && !route->isServedAtTheEnd)
        throw stopping();
}

/// A stop waits for the present request from now on. A caller without a right gets this far only with its
/// whole request: else it could hold up every stop by sending slowly.
void BeastHttpSession::beginWork()
{
    if (!work)
        work = parts.work.begin();
}

/// Sets who sends a request: the peer, or the caller that a trusted proxy names. Throws HttpError.
void BeastHttpSession::identify(HttpRequest& request)
{
    request.remoteAddress = peer.to_string();
    request.isSecure = stream.hasTls();
    if (!isProxy)
        return;
    ForwardedCaller const caller = callerBehind(peer, request, parts.proxies);
    request.remoteAddress = caller.address.to_string();
    request.isSecure = caller.isSecure.value_or(request.isSecure);
    memory = memoryOf(request.remoteAddress);
    if (parts.requestLimits)
        ofAddress = parts.requestLimits->admit(caller.address);
}

/// Keeps the connection's place for the present request, if the owner's share has room.
void BeastHttpSession::keepPlace(std::string const& owner)
{
    if (!place)
        place = parts.shares.take(owner);
    if (place)
        waiting.reset();
}

void BeastHttpSession::admitBody(HeadParser const& head, Entry& entry)
{
    auto const length = head->content_length();
    if (!route->receive && length && *length > route->maxBody)
        throw tooLarge();
    std::size_t bytes = head->chunked() ? memoryFactor * route->maxBody : 0;
    if (length)
        bytes = route->receive ? BodyPieces::size : memoryFactor * static_cast<std::size_t>(*length);
    if (!memory.grow(entry.memory, bytes))
        throw tooBusy("Too many large bodies at this time");
    if (route->receive)
        entry.sink = route->receive(entry.request, entry.admission.ids);
    if (entry.sink) { // Its address is its right.
        beginWork();
        keepPlace(pathOf(entry.request));
    }
}

std::string BeastHttpSession::pathOf(HttpRequest const& request)
{
    std::string text;
    for (std::string const& part : request.path)
        text += "/" + part;
    return text;
}

} // namespace zelvo::service
