#include "ZelvoGateway/http/HttpSession.h"

#include "ZelvoGateway/api/Api.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/http/BodyPieces.h"
#include "ZelvoGateway/http/BodySink.h"
#include "ZelvoGateway/http/ResponseWriter.h"
#include "ZelvoGateway/machines/MachineRegistry.h"
#include "ZelvoGateway/machines/MachineSocket.h"
#include "base/Text.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

namespace zelvo::service {

namespace {

namespace beast = boost::beast;
namespace http = boost::beast::http;
using Time = std::chrono::steady_clock;

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr std::size_t readBuffer = 128_KiB;
constexpr std::size_t lingerBytes = 256_MiB;
constexpr Duration lingerTime = 15s;

class BeastHttpSession final : public HttpSession {
public:
    BeastHttpSession(asio::ip::tcp::socket socket, ServerParts& parts)
        : parts(parts), stream(std::move(socket))
    {
    }

    Task<> serve() override;
    void drop() override;

private:
    // Each task that reads with one keeps it.
    using HeadParser = std::shared_ptr<http::request_parser<http::empty_body>>;
    using BodyParser = std::shared_ptr<http::request_parser<http::string_body>>;

    /// A request that was let in.
    struct Entry {
        Api::Admission admission;
        MemoryBudget::Lease memory;
        std::shared_ptr<BodySink> sink; ///< takes the body piece by piece; null when it is read whole
    };

    Task<bool> serveOne(bool first);
    Task<boost::system::error_code> readHead(HeadParser parser, bool first);
    Task<bool> serveBadHead(boost::system::error_code error);
    Entry letIn(HeadParser const& head, HttpRequest const& request);
    Task<bool> serveRequest(HeadParser headParser, HttpRequest request);
    Task<bool> receive(HeadParser headParser, HttpRequest request, std::shared_ptr<BodySink> sink);
    Task<> goOn(HeadParser headParser, HttpRequest const* request);
    Task<bool> refuse(Failure failure, HttpRequest head);
    Task<> serveMachine(HeadParser parser, HttpRequest head);
    Task<boost::system::error_code> readBody(BodyParser parser);
    Task<bool> write(HttpResponse response, bool keepAlive);
    Task<> linger();
    std::string localAddress() const;

    ServerParts& parts;
    beast::tcp_stream stream;
    beast::flat_buffer buffer{readBuffer};
    bool headOnly = false; // The request under way is a HEAD.
};

HttpRequest headOf(http::request<http::empty_body> const& message, std::string localAddress)
{
    HttpRequest request;
    request.method = message.method_string();
    request.localAddress = std::move(localAddress);
    for (auto const& field : message)
        request.headers.emplace(text::lowercased(std::string(field.name_string())),
                                std::string(field.value()));
    if (!readTarget(message.target(), request))
        throw Failure{.code = ErrorCode::invalidRequest, .message = "The request's target is no path"};
    return request;
}

Task<> BeastHttpSession::serve()
{
    auto const self = shared_from_this();
    boost::system::error_code ignored;
    stream.socket().set_option(asio::ip::tcp::no_delay(true), ignored);
    bool first = true;
    while (!parts.stopping && co_await serveOne(std::exchange(first, false))) {
    }
}

/// False when the connection is over.
Task<bool> BeastHttpSession::serveOne(bool first)
{
    auto const parser = std::make_shared<HeadParser::element_type>();
    if (auto const error = co_await readHead(parser, first))
        co_return co_await serveBadHead(error);
    std::optional<HttpRequest> head;
    std::optional<Failure> failure;
    bool machine = false;
    try {
        head = headOf(parser->get(), localAddress());
        machine = beast::websocket::is_upgrade(parser->get()) &&
                  head->path == std::vector<std::string>{"machines", "connect"};
    } catch (Failure const& thrown) {
        failure = thrown;
    }
    if (failure)
        co_return co_await refuse(*std::move(failure), {});
    if (machine) {
        co_await serveMachine(parser, *std::move(head));
        co_return false;
    }
    co_return co_await serveRequest(parser, *std::move(head));
}

Task<boost::system::error_code> BeastHttpSession::readHead(HeadParser parser, bool first)
{
    parser->header_limit(static_cast<std::uint32_t>(parts.settings.limits.requestHeader));
    parser->body_limit(boost::none); // Judged when it is known whose request this is.
    if (!first && buffer.size() == 0) {
        // Only the wait for the next request may be long, not the request.
        stream.expires_after(parts.settings.limits.idle);
        auto const [error, count] = co_await stream.async_read_some(buffer.prepare(4_KiB), asTuple);
        if (error)
            co_return error;
        buffer.commit(count);
    }
    stream.expires_after(parts.settings.limits.header);
    auto const [error, count] = co_await http::async_read_header(stream, buffer, *parser, asTuple);
    co_return error;
}

Task<bool> BeastHttpSession::serveBadHead(boost::system::error_code error)
{
    static auto const& httpErrors = http::make_error_code(http::error::bad_method).category();
    if (error.category() != httpErrors || error == http::error::end_of_stream ||
        error == http::error::partial_message)
        co_return false; // Gone, or too slow.
    bool const tooLong = error == http::error::header_limit || error == http::error::buffer_overflow;
    Failure failure{.code = ErrorCode::invalidRequest, .message = "This is no HTTP request", .status = 400};
    if (tooLong) {
        failure.message = "The head of the request is too long";
        failure.status = 431;
    }
    co_return co_await refuse(std::move(failure), {});
}

Task<bool> BeastHttpSession::refuse(Failure failure, HttpRequest head)
{
    // The body was not read, so the connection can't be used for another request.
    HttpResponse response = parts.api.failed(failure, head);
    co_await write(std::move(response), false);
    co_await linger();
    co_return false;
}

/// Judges a request by its head. Throws Failure.
BeastHttpSession::Entry BeastHttpSession::letIn(HeadParser const& head, HttpRequest const& request)
{
    Entry entry;
    entry.admission = parts.api.admit(request);
    bool const inPieces = entry.admission.route->receiver != nullptr;
    auto const length = head->content_length();
    if (!inPieces && length && *length > entry.admission.bodyLimit)
        throw Failure{.code = ErrorCode::invalidRequest, .message = "The body is too large", .status = 413};
    std::size_t atMost = head->chunked() ? entry.admission.bodyLimit : 0;
    if (length)
        atMost = inPieces ? BodyPieces::size : static_cast<std::size_t>(*length);
    if (!parts.memory.grow(entry.memory, atMost))
        throw Failure{.code = ErrorCode::rateLimited, .message = "Too many large bodies at this time"};
    entry.sink = parts.api.receiverOf(entry.admission, request);
    return entry;
}

Task<bool> BeastHttpSession::serveRequest(HeadParser headParser, HttpRequest request)
{
    std::optional<Failure> refused;
    Entry entry;
    headOnly = request.method == "HEAD";
    try {
        entry = letIn(headParser, request);
    } catch (Failure const& failure) {
        refused = failure;
    } catch (std::exception const& error) {
        refused = internalFailure(error);
    }
    if (refused)
        co_return co_await refuse(*std::move(refused), std::move(request));

    co_await goOn(headParser, &request);
    if (entry.sink)
        co_return co_await receive(headParser, std::move(request), std::move(entry.sink));
    auto const parser = std::make_shared<BodyParser::element_type>(std::move(*headParser));
    parser->body_limit(entry.admission.bodyLimit);
    if (auto const error = co_await readBody(parser)) {
        bool const tooLarge = error == http::error::body_limit;
        Failure failure{.code = ErrorCode::invalidRequest,
                        .message = tooLarge ? "The body is too large" : "The body could not be read",
                        .status = tooLarge ? 413 : 400};
        co_return co_await refuse(std::move(failure), std::move(request));
    }
    bool const keepAlive = parser->get().keep_alive();
    request.body = std::move(parser->get().body());
    HttpResponse response = co_await parts.api.answer(std::move(entry.admission), std::move(request));
    if (response.file && !parts.memory.grow(response.memory, ResponseWriter::filePiece)) {
        Failure const failure{.code = ErrorCode::rateLimited, .message = "Too many films are read"};
        response = parts.api.failed(failure, {});
    }
    co_return co_await write(std::move(response), keepAlive);
}

Task<> BeastHttpSession::goOn(HeadParser headParser, HttpRequest const* request)
{
    if (!text::equalIgnoringCase(request->header("expect"), "100-continue"))
        co_return;
    http::response<http::empty_body> const message(http::status::continue_, headParser->get().version());
    co_await http::async_write(stream, message, asTuple);
}

/// A body that is taken piece by piece.
Task<bool>
BeastHttpSession::receive(HeadParser headParser, HttpRequest request, std::shared_ptr<BodySink> sink)
{
    BodyPieces pieces(stream, buffer, std::move(*headParser), parts.settings.limits);
    std::optional<Failure> failure;
    HttpResponse response;
    try {
        for (auto piece = co_await pieces.next(); !piece.empty(); piece = co_await pieces.next())
            co_await sink->take(piece);
        response = co_await sink->finish();
    } catch (Failure const& thrown) {
        failure = thrown;
    } catch (std::exception const& error) {
        failure = internalFailure(error);
    }
    sink.reset(); // What it leaves behind is gone before the sender hears of it.
    if (failure)
        co_return co_await refuse(*std::move(failure), std::move(request));
    co_return co_await write(std::move(response), pieces.keepAlive());
}

Task<boost::system::error_code> BeastHttpSession::readBody(BodyParser parser)
{
    Limits const& limits = parts.settings.limits;
    bool const small = parser->content_length() && *parser->content_length() <= limits.smallBody;
    auto const end = Time::now() + (small ? limits.smallBodyTime : limits.bodyTime);
    while (!parser->is_done()) {
        stream.expires_at(std::min(end, Time::now() + limits.bodyIdle));
        auto const [error, count] = co_await http::async_read_some(stream, buffer, *parser, asTuple);
        if (error)
            co_return error;
    }
    co_return boost::system::error_code();
}

Task<bool> BeastHttpSession::write(HttpResponse response, bool keepAlive)
{
    ResponseWriter writer(stream, parts.workers);
    bool const whole = !std::exchange(headOnly, false);
    co_return co_await writer.write(std::move(response), keepAlive && !parts.stopping, whole);
}

/// Takes in what the client still sends, so that it gets to read the answer before the connection breaks.
Task<> BeastHttpSession::linger()
{
    boost::system::error_code ignored;
    stream.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
    stream.expires_after(lingerTime);
    std::vector<char> waste(64_KiB);
    for (std::size_t taken = 0; taken < lingerBytes && !parts.stopping;) {
        auto const [error, count] = co_await stream.async_read_some(asio::buffer(waste), asTuple);
        if (error)
            co_return;
        taken += count;
    }
}

Task<> BeastHttpSession::serveMachine(HeadParser parser, HttpRequest head)
{
    std::optional<Failure> refused;
    StoredMachine machine;
    try {
        machine = parts.api.admitMachine(head);
        if (parts.machines.count() >= parts.settings.limits.machines && !parts.machines.isOnline(machine.id))
            throw Failure{
                .code = ErrorCode::rateLimited, .message = "Too many machines are connected", .status = 503};
        if (buffer.size() > 0) // They would be lost on the way to the WebSocket.
            throw Failure{.code = ErrorCode::invalidRequest, .message = "Frames may only follow the answer"};
    } catch (Failure const& failure) {
        refused = failure;
    }
    if (refused) {
        co_await refuse(*std::move(refused), std::move(head));
        co_return;
    }
    auto request = parser->release();
    auto const socket = std::make_shared<MachineSocket>(std::move(stream), parts);
    // A task of its own: this session ends here and makes room for another.
    spawn(socket->executor(),
          [socket, request = std::move(request), id = machine.id] { return socket->serve(request, id); });
}

std::string BeastHttpSession::localAddress() const
{
    boost::system::error_code ignored;
    auto const endpoint = stream.socket().local_endpoint(ignored);
    return endpoint.address().to_string();
}

void BeastHttpSession::drop()
{
    stream.close();
}

} // namespace

std::shared_ptr<HttpSession> HttpSession::create(asio::ip::tcp::socket socket, ServerParts& parts)
{
    return std::make_shared<BeastHttpSession>(std::move(socket), parts);
}

} // namespace zelvo::service
