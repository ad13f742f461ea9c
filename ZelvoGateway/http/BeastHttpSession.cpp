#include "ZelvoGateway/http/BeastHttpSession.h"

#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/http/BodyPieces.h"
#include "ZelvoGateway/http/PeerWatch.h"
#include "ZelvoGateway/http/RequestRefusals.h"
#include "base/Text.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/http/write.hpp>

#include <algorithm>

namespace zelvo::service {

namespace {

namespace beast = boost::beast;
namespace http = boost::beast::http;

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr Duration farewellTime = 2s;

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

} // namespace

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

std::shared_ptr<HttpSession>
HttpSession::create(PeerStream stream, SessionParts& parts, RequestLimits::Lease ofAddress)
{
    return std::make_shared<BeastHttpSession>(std::move(stream), parts, std::move(ofAddress));
}

} // namespace zelvo::service
