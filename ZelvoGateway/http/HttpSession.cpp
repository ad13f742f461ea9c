#include "ZelvoGateway/http/HttpSession.h"

#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/http/BodyPieces.h"
#include "ZelvoGateway/http/BodySink.h"
#include "ZelvoGateway/http/HttpError.h"
#include "ZelvoGateway/http/PeerWatch.h"
#include "ZelvoGateway/http/RequestCaller.h"
#include "ZelvoGateway/http/RequestId.h"
#include "ZelvoGateway/http/RequestReader.h"
#include "ZelvoGateway/http/ResponseWriter.h"
#include "ZelvoGateway/http/Upgrade.h"
#include "base/Text.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <algorithm>

namespace zelvo::service {

namespace {

namespace beast = boost::beast;
namespace http = boost::beast::http;

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr std::size_t readBuffer = 128_KiB;
constexpr Duration farewellTime = 2s;
constexpr std::size_t memoryFactor = 2; // The body, and what is parsed from it or written of that.

using Time = std::chrono::steady_clock;

HttpError tooBusy(std::string message)
{
    return {.status = 429,
            .code = ErrorCode::rateLimited,
            .message = std::move(message),
            .limit = Refusal::memory};
}

HttpError stopping()
{
    return {.status = 503,
            .code = ErrorCode::rateLimited,
            .message = "The gateway is stopping",
            .retryAfter = std::chrono::seconds(5)};
}

HttpError tooLarge()
{
    return {.status = 413,
            .code = ErrorCode::invalidRequest,
            .message = "The body is too large",
            .limit = Refusal::bodySize};
}

/// Runs a step that may refuse the request; returns why, or nullopt.
template <class Step>
std::optional<HttpError> refusalOf(Step const& step)
{
    try {
        step();
    } catch (HttpError const& error) {
        return error;
    } catch (std::exception const& error) {
        return internalError(error);
    }
    return std::nullopt;
}

/// "/films/rec_1".
std::string pathOf(HttpRequest const& request)
{
    std::string text;
    for (std::string const& part : request.path)
        text += "/" + part;
    return text;
}

/// "POST /v1/connections/*/commands".
std::string textOf(Route const* route)
{
    if (!route)
        return "a request without a route";
    std::string text(route->method);
    text += " ";
    for (std::string_view const part : route->pattern)
        text += "/" + std::string(part);
    return text + (route->pattern.empty() ? "/" : "");
}

class BeastHttpSession final : public HttpSession {
public:
    BeastHttpSession(PeerStream connection, SessionParts& parts, RequestLimits::Lease ofAddress)
        : ofAddress(std::move(ofAddress)), parts(parts), stream(std::move(connection)),
          reader(stream, buffer, parts.limits), localAddress(localAddressOf(stream.socket())),
          peer(peerAddressOf(stream.socket())), isProxy(parts.proxies.contains(peer)),
          memory(memoryOf(peer.to_string()))
    {
    }

    Task<> serve() override;
    void drop() override
    {
        waiting.reset();
        stream.close();
    }
    std::optional<Time::time_point> waitsSince() const override { return waiting; }
    bool isServing() const override { return work || isEnding; }

private:
    using HeadParser = RequestReader::HeadParser;
    using BodyParser = RequestReader::BodyParser;

    /// A request on its way through the session.
    struct Entry {
        HttpRequest request;
        Admission admission;
        MemoryBudget::Lease memory;
        std::shared_ptr<BodySink> sink; ///< takes the body in pieces; null if it is read whole
        Upgrade upgrade;                ///< takes the connection over; empty for other requests
    };

    Task<bool> begin();
    Task<bool> serveOne(bool first);
    Task<bool> serveBadHead(boost::system::error_code error);
    MemoryBudget memoryOf(std::string const& address) const
    {
        return parts.memory.partOf("address " + address);
    }
    void takeRequestId(HttpRequest& request);
    void identify(HttpRequest& request);
    void admit(HeadParser const& head, Entry& entry);
    void admitBody(HeadParser const& head, Entry& entry);
    void assertServed() const;
    void beginWork();
    void keepPlace(std::string const& owner);
    Task<bool> serveRequest(HeadParser headParser, Entry entry);
    Task<bool> receive(HeadParser headParser, std::shared_ptr<BodySink> sink);
    Task<> sendContinue(HeadParser headParser, HttpRequest const* request);
    Task<HttpResponse> answer(Entry entry);
    Task<bool> refuse(HttpError error);
    HttpResponse failed(HttpError error) const;
    void noteAnswer(int status) const;
    void addOwnHeaders(HttpResponse& response) const;
    void handOver(HeadParser const& parser, Upgrade upgrade);
    Task<bool> write(HttpResponse response, bool keepAlive);
    Task<bool> writeStream(HttpResponse response, bool keepAlive, BodyEnd end);

    RequestLimits::Lease ofAddress; // Behind a proxy: of the present request.
    RequestLimits::Lease ofKey;     // Of the present request.
    SessionParts& parts;
    PeerStream stream;
    beast::flat_buffer buffer{readBuffer};
    RequestReader reader;
    std::string const localAddress;
    asio::ip::address const peer;
    bool const isProxy;  // The peer is a trusted proxy.
    MemoryBudget memory; // The caller's part of the budget.
    std::optional<Time::time_point> waiting = Time::now();
    Time::time_point began = Time::now(); // Of the present request.
    PlaceShares::Lease place;             // For the present request.
    OpenWork::Lease work;                 // The present request, once a stop waits for its answer.
    bool isEnding = false;                // The last answer is on its way.
    bool wantsTlsOnly = false;            // A browser should ask the present request's host with TLS only.
    bool headOnly = false;                // The present request is a HEAD.
    std::string requestId;                // Of the present request.
    Route const* route = nullptr;         // Null if it has none.
};

Task<> BeastHttpSession::serve()
{
    auto const self = shared_from_this();
    boost::system::error_code ignored;
    stream.socket().set_option(asio::ip::tcp::no_delay(true), ignored);
    if (!co_await begin())
        co_return;
    bool first = true;
    while (!parts.stopping && co_await serveOne(std::exchange(first, false))) {
    }
    isEnding = true;
    work.release();
    co_await stream.finishSending(farewellTime);
}

/// False if there is nothing to serve, because TLS did not begin.
Task<bool> BeastHttpSession::begin()
{
    auto const error = co_await stream.begin(parts.limits.handshake);
    if (isPlainHttp(error)) {
        stream.leaveTls();
        requestId = newId("req");
        co_await refuse(badRequest("This port speaks HTTPS"));
    }
    co_return !error;
}

/// False if the connection is over.
Task<bool> BeastHttpSession::serveOne(bool first)
{
    auto const parser = std::make_shared<HeadParser::element_type>();
    waiting = Time::now();
    place.reset();
    ofKey.reset();
    if (isProxy)
        ofAddress.reset();
    work.release();
    requestId = newId("req");
    route = nullptr;
    if (auto const error = co_await reader.readHead(parser, first))
        co_return co_await serveBadHead(error);
    began = Time::now();
    Entry entry;
    auto refusal = refusalOf([&] { admit(parser, entry); });
    if (refusal)
        co_return co_await refuse(*std::move(refusal));
    if (entry.upgrade) {
        handOver(parser, std::move(entry.upgrade));
        co_return false;
    }
    co_return co_await serveRequest(parser, std::move(entry));
}

Task<bool> BeastHttpSession::serveBadHead(boost::system::error_code error)
{
    static auto const& httpErrors = http::make_error_code(http::error::bad_method).category();
    if (error.category() != httpErrors || error == http::error::end_of_stream ||
        error == http::error::partial_message) {
        if (error == beast::error::timeout && buffer.size() > 0)
            parts.metrics.refused(Refusal::slowRequest);
        co_return false; // The client has gone, or was too slow.
    }
    HttpError refusal = badRequest("This is no HTTP request");
    if (error == http::error::header_limit || error == http::error::buffer_overflow) {
        refusal.message = "The head of the request is too long";
        refusal.status = 431;
    }
    co_return co_await refuse(std::move(refusal));
}

Task<bool> BeastHttpSession::refuse(HttpError error)
{
    // The body is still unread, so the connection can't be used for another request.
    isEnding = true;
    HttpResponse response = failed(std::move(error));
    co_await write(std::move(response), false);
    work.release(); // What the client still sends holds up no stop.
    co_await reader.drain(&parts.stopping);
    co_return false;
}

/// The answer to a request that failed. What is this gateway's fault, or its machine's, is logged, without
/// anything that the caller sent.
HttpResponse BeastHttpSession::failed(HttpError error) const
{
    if (error.requestId.empty())
        error.requestId = requestId;
    if (error.limit)
        parts.metrics.refused(*error.limit);
    if (error.status >= 500)
        Log::error(error.requestId + " " + textOf(route) + " " + std::to_string(error.status) + " " +
                       std::string(rawValue(error.code)) + (error.reason.empty() ? "" : ": " + error.reason),
                   {{"requestId", error.requestId},
                    {"route", textOf(route)},
                    {"status", error.status},
                    {"code", rawValue(error.code)}});
    return errorResponse(error);
}

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
    if (!route->upgrade || !beast::websocket::is_upgrade(head->get())) {
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

Task<bool> BeastHttpSession::serveRequest(HeadParser headParser, Entry entry)
{
    co_await sendContinue(headParser, &entry.request);
    if (entry.sink)
        co_return co_await receive(headParser, std::move(entry.sink));
    auto const parser = std::make_shared<BodyParser::element_type>(std::move(*headParser));
    parser->body_limit(entry.admission.route->maxBody);
    if (auto const error = co_await reader.readBody(parser, entry.admission.route->maxBody)) {
        HttpError refusal =
            error == http::error::body_limit ? tooLarge() : badRequest("The body could not be read");
        if (error == beast::error::timeout)
            refusal.limit = Refusal::slowRequest;
        co_return co_await refuse(std::move(refusal));
    }
    if (!work) // A stop may have begun while the body was read.
        if (auto refusal = refusalOf([&] { assertServed(); }))
            co_return co_await refuse(*std::move(refusal));
    beginWork();
    bool const keepAlive = parser->get().keep_alive();
    BodyEnd const end = parser->get().version() >= 11 ? BodyEnd::chunks : BodyEnd::connection;
    entry.request.body = std::move(parser->get().body());
    // Held until the answer is sent, like the request's memory before.
    MemoryBudget::Lease const lease = std::move(entry.memory);
    std::string const path = pathOf(entry.request);
    HttpResponse response = co_await answer(std::move(entry));
    if (response.stream)
        co_return co_await writeStream(std::move(response), keepAlive, end);
    if (response.source)
        keepPlace(path);
    if (response.source && !memory.grow(response.memory, ResponseWriter::sourcePiece))
        response = failed(tooBusy("Too many recordings are read"));
    co_return co_await write(std::move(response), keepAlive);
}

Task<HttpResponse> BeastHttpSession::answer(Entry entry)
{
    auto const& answer = entry.admission.route->answer;
    try {
        co_return co_await answer(std::move(entry.request), std::move(entry.admission.ids));
    } catch (HttpError const& error) {
        co_return failed(error);
    } catch (std::exception const& error) {
        co_return failed(internalError(error));
    }
}

Task<> BeastHttpSession::sendContinue(HeadParser headParser, HttpRequest const* request)
{
    if (!text::equalIgnoringCase(request->header("expect"), "100-continue"))
        co_return;
    http::response<http::empty_body> const message(http::status::continue_, headParser->get().version());
    co_await http::async_write(stream, message, asTuple);
}

Task<bool> BeastHttpSession::receive(HeadParser headParser, std::shared_ptr<BodySink> sink)
{
    BodyPieces pieces(stream, buffer, std::move(*headParser), parts.limits);
    std::optional<HttpError> refusal;
    HttpResponse response;
    try {
        for (auto piece = co_await pieces.next(); !piece.empty(); piece = co_await pieces.next())
            co_await sink->take(piece);
        response = co_await sink->finish();
    } catch (HttpError const& error) {
        refusal = error;
    } catch (std::exception const& error) {
        refusal = internalError(error);
    }
    sink.reset(); // The sender must not hear of it before everything is cleaned up.
    if (refusal)
        co_return co_await refuse(*std::move(refusal));
    co_return co_await write(std::move(response), pieces.keepAlive());
}

Task<bool> BeastHttpSession::write(HttpResponse response, bool keepAlive)
{
    noteAnswer(response.status);
    addOwnHeaders(response);
    ResponseWriter writer(stream, parts.workers);
    bool const whole = !std::exchange(headOnly, false);
    co_return co_await writer.write(std::move(response), keepAlive && !parts.work.isClosing(), whole);
}

/// For the metrics, and at the level debug for the log: the route, without ids or anything else of a caller.
void BeastHttpSession::noteAnswer(int status) const
{
    parts.metrics.answered(status);
    if (!Log::takes(Log::Level::debug))
        return;
    auto const took = std::chrono::duration_cast<std::chrono::milliseconds>(Time::now() - began).count();
    Log::debug(
        requestId + " " + textOf(route) + " " + std::to_string(status) + ", " + std::to_string(took) + " ms",
        {{"requestId", requestId}, {"route", textOf(route)}, {"status", status}, {"durationMs", took}});
}

void BeastHttpSession::addOwnHeaders(HttpResponse& response) const
{
    if (wantsTlsOnly)
        response.headers.emplace_back("Strict-Transport-Security", "max-age=31536000");
    auto const& headers = response.headers;
    if (std::ranges::find(headers, requestIdHeader, [](auto const& one) { return one.first; }) ==
        headers.end())
        response.headers.emplace_back(requestIdHeader, requestId);
}

/// The stream learns at once if the client goes.
Task<bool> BeastHttpSession::writeStream(HttpResponse response, bool keepAlive, BodyEnd end)
{
    noteAnswer(response.status);
    addOwnHeaders(response);
    auto const body = response.stream;
    PeerWatch watch(stream, buffer, shared_from_this(), [body] { body->abandon(); });
    ResponseWriter writer(stream, parts.workers);
    bool const isUsable =
        co_await writer.writeStream(std::move(response), keepAlive && !parts.work.isClosing(), end);
    co_await watch.end();
    if (!isUsable)
        body->abandon();
    co_return isUsable;
}

/// In a separate task: this session ends now, and makes room for another.
void BeastHttpSession::handOver(HeadParser const& parser, Upgrade upgrade)
{
    auto const connection = std::make_shared<UpgradedConnection>(std::move(stream), parser->release());
    spawn(connection->stream.get_executor(),
          [connection, upgrade = std::move(upgrade)] { return upgrade(connection); });
}

} // namespace

std::shared_ptr<HttpSession>
HttpSession::create(PeerStream stream, SessionParts& parts, RequestLimits::Lease ofAddress)
{
    return std::make_shared<BeastHttpSession>(std::move(stream), parts, std::move(ofAddress));
}

} // namespace zelvo::service
