#include "ZelvoGateway/mcp/stdio/StdioBridge.h"

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/mcp/stdio/InputLines.h"
#include "ZelvoGateway/net/PeerStream.h"
#include "ZelvoGateway/net/TlsClient.h"
#include "base/Task.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

namespace zelvo::service {

namespace {

namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr std::size_t maxLine = 16_MiB;    // What the gateway takes.
constexpr std::size_t maxAnswer = 512_MiB; // No answer is as large.
constexpr char const* tooLongAnswer =
    R"({"jsonrpc":"2.0","error":{"code":-32600,"message":"The message is too long"}})";

websocket::stream_base::timeout const times{.handshake_timeout = std::chrono::seconds(15),
                                            .idle_timeout = std::chrono::seconds(150), // It pings each 30.
                                            .keep_alive_pings = false};

std::string refusal(int status, GatewayPlace const& place)
{
    if (status == 401)
        return "the gateway refuses this API key";
    if (status == 404)
        return "the gateway has no such connection, or the key does not reach it";
    return "the gateway at " + place.address() + " answers with status " + std::to_string(status);
}

std::shared_ptr<TlsContext> contextFor(GatewayPlace const& place)
{
    if (!place.isSecure)
        return nullptr;
    return place.certificate.empty() ? trustingContext() : pinnedContext(place.certificate);
}

void waitUntilWritable(int file)
{
    pollfd watched{.fd = file, .events = POLLOUT, .revents = 0};
    ::poll(&watched, 1, -1);
}

class StdioBridge {
public:
    StdioBridge(GatewayPlace const& place, int input, int output)
        : place(place), input(input), output(output), tls(contextFor(place)), socket(io.get_executor())
    {
    }

    void run();

private:
    Task<> serve();
    Task<> connect();
    Task<boost::system::error_code> reach();
    Task<> copyAnswers();
    Task<> sendLine(std::string line);
    void take(std::optional<LineSplitter::Line> line);
    void lineIsSent();
    void readLines();
    bool forward(std::optional<LineSplitter::Line> line);
    void writeLine(std::string_view text);
    void end();

    GatewayPlace const& place;
    int input;
    int output;
    asio::io_context io{1};
    std::shared_ptr<TlsContext> tls; // Null for plain HTTP.
    websocket::stream<PeerStream> socket;
    std::string failure;
    bool hasInputEnded = false;
    bool hasEnded = false; // Nobody reads the output, or the gateway has gone.

    std::mutex lock;
    std::condition_variable changed;
    bool isSent = false; // lock; the line that `lines` waits for
    bool isOver = false; // lock
    std::optional<InputLines> lines;
};

void StdioBridge::run()
{
    spawn(io.get_executor(), [this] { return serve(); });
    io.run();
    if (!failure.empty())
        throw std::runtime_error(failure);
}

Task<> StdioBridge::serve()
{
    co_await connect();
    if (failure.empty()) {
        readLines();
        co_await copyAnswers();
    }
    end();
    io.stop(); // The WebSocket's timer still waits.
}

/// Connects, with TLS if the gateway has it.
Task<boost::system::error_code> StdioBridge::reach()
{
    asio::ip::tcp::resolver resolver(io);
    auto const [unknown, endpoints] = co_await resolver.async_resolve(place.host, place.port, asTuple);
    if (unknown)
        co_return unknown;
    PeerStream& stream = beast::get_lowest_layer(socket);
    stream.expires_after(times.handshake_timeout);
    auto const [unreachable, endpoint] = co_await stream.plain().async_connect(endpoints, asTuple);
    if (unreachable)
        co_return unreachable;
    stream.socket().set_option(asio::ip::tcp::no_delay(true));
    if (tls)
        if (auto const error =
                co_await stream.beginAsClient(tls, place.certificate.empty() ? place.host : ""))
            co_return error;
    stream.expires_never();
    co_return boost::system::error_code();
}

Task<> StdioBridge::connect()
{
    std::string const absent = "no gateway answers at " + place.address() + ": ";
    if (auto const unreachable = co_await reach()) {
        failure = absent + unreachable.message();
        co_return;
    }
    socket.set_option(times);
    socket.read_message_max(maxAnswer);
    socket.binary(true); // The gateway says itself what is wrong with bytes that are no text.
    socket.set_option(websocket::stream_base::decorator([this](websocket::request_type& request) {
        request.set(beast::http::field::authorization, "Bearer " + place.key);
    }));
    websocket::response_type response;
    std::string const host = place.address().substr(place.address().find("//") + 2);
    auto const [error] = co_await socket.async_handshake(response, host, place.target, asTuple);
    if (error == websocket::error::upgrade_declined)
        failure = refusal(static_cast<int>(response.result_int()), place);
    else if (error)
        failure = absent + error.message();
}

Task<> StdioBridge::copyAnswers()
{
    for (;;) {
        beast::flat_buffer buffer;
        auto const [error, count] = co_await socket.async_read(buffer, asTuple);
        if (hasEnded)
            co_return;
        if (error == websocket::error::closed && hasInputEnded &&
            socket.reason().code == websocket::close_code::normal)
            co_return;
        if (error) {
            std::string const reason(socket.reason().reason.data(), socket.reason().reason.size());
            failure = "the gateway has gone" + (reason.empty() ? "" : ": " + reason);
            co_return;
        }
        writeLine({static_cast<char const*>(buffer.data().data()), buffer.size()});
    }
}

/// When nobody reads the output any more it ends at once, so that the gateway cancels what is open.
void StdioBridge::readLines()
{
    lines.emplace(InputLines::Parts{.input = input,
                                    .output = output,
                                    .maxLine = maxLine,
                                    .take = [this](auto line) { return forward(std::move(line)); },
                                    .unread = [this] { asio::post(io, [this] { end(); }); }});
}

/// Hands a line over and waits until it is sent, so that a fast client fills no memory. Thread: that of
/// `lines`.
bool StdioBridge::forward(std::optional<LineSplitter::Line> line)
{
    std::unique_lock guard(lock);
    isSent = false;
    asio::post(io, [this, line = std::move(line)]() mutable { take(std::move(line)); });
    changed.wait(guard, [this] { return isSent || isOver; });
    return !isOver;
}

void StdioBridge::take(std::optional<LineSplitter::Line> line)
{
    hasInputEnded |= !line;
    if (line && line->isTooLong)
        writeLine(tooLongAnswer);
    if (line && line->text.empty()) {
        lineIsSent();
        return;
    }
    auto const text = std::make_shared<std::string>(line ? std::move(line->text) : std::string());
    spawn(io.get_executor(), [this, text] { return sendLine(std::move(*text)); });
}

Task<> StdioBridge::sendLine(std::string line)
{
    co_await socket.async_write(asio::buffer(line), asTuple); // Reading notices a failure, too.
    lineIsSent();
}

void StdioBridge::lineIsSent()
{
    std::scoped_lock guard(lock);
    isSent = true;
    changed.notify_all();
}

void StdioBridge::writeLine(std::string_view text)
{
    std::string line(text);
    line += '\n';
    for (std::size_t done = 0; done < line.size() && !hasEnded;) {
        ssize_t const count = ::write(output, line.data() + done, line.size() - done);
        if (count >= 0)
            done += static_cast<std::size_t>(count);
        else if (errno == EAGAIN) // Somebody else may have set it so.
            waitUntilWritable(output);
        else if (errno != EINTR)
            end();
    }
}

void StdioBridge::end()
{
    if (std::exchange(hasEnded, true))
        return;
    beast::get_lowest_layer(socket).close();
    std::scoped_lock guard(lock);
    isOver = true;
    changed.notify_all();
}

} // namespace

void joinGateway(GatewayPlace const& place, int input, int output)
{
    StdioBridge(place, input, output).run();
}

} // namespace zelvo::service
