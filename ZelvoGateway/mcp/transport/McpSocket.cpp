#include "ZelvoGateway/mcp/transport/McpSocket.h"

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/mcp/transport/McpRequest.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <utility>

namespace zelvo::service {

namespace {

namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr std::size_t readPiece = 256_KiB;
constexpr std::size_t writePiece = 64_KiB;   // A ping is sent between two pieces of a large message.
constexpr std::size_t smallMessage = 64_KiB; // Smaller ones are not counted.
constexpr std::size_t memoryFactor = 2;      // The text, and what is read from it.
constexpr Duration closePatience = 3s;

websocket::stream_base::timeout const times{.handshake_timeout = std::chrono::seconds(15),
                                            .idle_timeout = std::chrono::seconds(60),
                                            .keep_alive_pings = true};

} // namespace

McpSocket::McpSocket(PeerStream stream, std::shared_ptr<McpConnection> connection, McpSocketParts parts)
    : socket(std::move(stream)), connection(std::move(connection)), parts(std::move(parts)),
      outbox(this->parts.memory, Notifications::sent)
{
    socket.read_message_max(JsonRpcLimits().bytes);
    socket.write_buffer_bytes(writePiece);
    socket.auto_fragment(true);
    socket.set_option(times);
}

Task<> McpSocket::serve(UpgradeRequest request)
{
    auto const self = shared_from_this();
    if (co_await accept(std::move(request)))
        co_await readUntilEnd();
    connection->end();
    if (!isClosing)
        drop();
}

Task<bool> McpSocket::accept(UpgradeRequest request)
{
    auto& stream = beast::get_lowest_layer(socket);
    stream.expires_never(); // The WebSocket has its own times.
    auto const [error] = co_await socket.async_accept(request, asTuple);
    boost::system::error_code ignored;
    stream.socket().set_option(asio::ip::tcp::no_delay(true), ignored);
    co_return !error;
}

Task<> McpSocket::readUntilEnd()
{
    while (co_await waitForRoom()) {
        auto const incoming = co_await readMessage();
        if (!incoming)
            co_return;
        if (incoming->text.empty()) {
            isLast = true;
            closeIfDone();
            continue;
        }
        if (!parts.mayGoOn()) {
            close(websocket::close_code::policy_error, "the connection does not exist any more");
            co_return;
        }
        JsonRpcDocument document = co_await readJsonRpcOn(parts.workers, incoming->text);
        if (!isClosing && !parts.work.isClosing())
            receive(std::move(document));
    }
}

void McpSocket::receive(JsonRpcDocument document)
{
    if (!work)
        work = parts.work.begin();
    connection->receive(std::move(document), shared_from_this());
    closeIfDone(); // A notification needs no answer.
}

/// Waits while the client does not read what it asked for, so that its requests wait in its buffers and not
/// in this process. One that never reads is ended by the idle time. False if the socket ends.
Task<bool> McpSocket::waitForRoom()
{
    auto const isOver = [this] { return isClosing || isDropped || !outbox.isFull(); };
    while (!isOver())
        co_await room.wait(isOver);
    co_return !isClosing && !isDropped;
}

Task<std::optional<McpSocket::Incoming>> McpSocket::readMessage()
{
    Incoming incoming;
    auto buffer = asio::dynamic_buffer(incoming.text);
    do {
        auto const [error, count] = co_await socket.async_read_some(buffer, readPiece, asTuple);
        if (error)
            co_return std::nullopt;
        std::size_t const bytes = incoming.text.size();
        if (bytes > smallMessage && !parts.memory.grow(incoming.memory, memoryFactor * bytes)) {
            close(websocket::close_code::try_again_later, "the gateway is short of memory");
            co_return std::nullopt;
        }
    } while (!socket.is_message_done());
    co_return incoming;
}

void McpSocket::send(McpMessage message)
{
    if (isClosing || isDropped)
        return;
    outbox.put(std::move(message));
    if (outbox.isEmpty() || std::exchange(isWriting, true))
        return;
    spawn(socket.get_executor(), [self = shared_from_this()] { return self->writeQueue(); });
}

Task<> McpSocket::writeQueue()
{
    while (!outbox.isEmpty() && !isDropped) {
        McpOutbox::Entry first = outbox.take();
        room.notifyAll([] {});
        std::string const text = co_await McpOutbox::textOf(first, parts.workers);
        socket.text(true);
        auto const [error, count] = co_await socket.async_write(asio::buffer(text), asTuple);
        if (error) {
            drop();
            break;
        }
    }
    isWriting = false;
    closeIfDone();
}

void McpSocket::finish()
{
    closeIfDone();
}

bool McpSocket::isDone() const
{
    return !isWriting && outbox.isEmpty() && connection->openExchanges() == 0;
}

void McpSocket::closeIfDone()
{
    if (!isDone())
        return;
    work.release();
    if (isLast)
        close(websocket::close_code::normal, "");
}

void McpSocket::close(websocket::close_code code, std::string reason)
{
    if (std::exchange(isClosing, true))
        return;
    outbox.clear();
    room.notifyAll([] {});
    connection->end();
    work.release();
    spawn(socket.get_executor(), [self = shared_from_this(), code, reason = std::move(reason)] {
        return self->closeThenDrop(code, reason);
    });
}

Task<> McpSocket::closeThenDrop(websocket::close_code code, std::string reason)
{
    asio::steady_timer patience(socket.get_executor());
    patience.expires_after(closePatience);
    patience.async_wait([self = shared_from_this()](boost::system::error_code error) {
        if (!error)
            self->drop();
    });
    websocket::close_reason const told(code, reason);
    co_await socket.async_close(told, asTuple);
    drop();
}

void McpSocket::drop()
{
    if (std::exchange(isDropped, true))
        return;
    room.notifyAll([] {});
    work.release();
    beast::get_lowest_layer(socket).close();
}

} // namespace zelvo::service
