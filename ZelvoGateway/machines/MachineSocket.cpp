#include "ZelvoGateway/machines/MachineSocket.h"

#include "ZelvoGateway/base/JsonWork.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/net/SentBytes.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <algorithm>

namespace zelvo::service {

namespace {

namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);
constexpr std::size_t readPiece = 256_KiB;
constexpr std::size_t writePiece = 64_KiB; // A ping is sent between two pieces of a large message.
constexpr std::size_t memoryFactor = 2;    // The text, and what is parsed from it or written of that.
constexpr Duration closePatience = 3s;

} // namespace

MachineSocket::MachineSocket(PeerStream stream, MachineSocketParts& parts)
    : parts(parts), socket(std::move(stream)), pingTimer(socket.get_executor()), unasked(parts.clock, 2)
{
    // takeRoom() enforces the real limit. At Beast's own the socket is dropped with bytes unread, so that the
    // machine never sees the close code; it is only for senders that announce an absurd size.
    socket.read_message_max(2 * parts.settings.limits.machineMessage);
    socket.write_buffer_bytes(writePiece);
    socket.auto_fragment(true);
}

Task<> MachineSocket::serve(UpgradeRequest request, std::string machineId)
{
    auto const self = shared_from_this();
    if (!co_await accept(std::move(request)))
        co_return;
    memory.emplace(parts.memory.partOf("machine " + machineId));
    auto const session =
        std::make_shared<MachineSession>(machineId, self, parts.store, parts.settings.limits, parts.listener);
    parts.machines.attach(session);
    if (parts.machines.isClosed())
        co_return;
    session->began();
    Log::debug("machine " + machineId + " connected", {{"machine", machineId}});
    spawn(executor(), [self] { return self->keepAlive(); });

    co_await readUntilEnd(session);

    session->ended();
    Log::debug("machine " + machineId + " went", {{"machine", machineId}});
    parts.machines.detach(session);
    if (!closing)
        drop();
}

Task<bool> MachineSocket::accept(UpgradeRequest request)
{
    auto& stream = beast::get_lowest_layer(socket);
    stream.expires_after(parts.settings.limits.handshake);
    auto const [error] = co_await socket.async_accept(request, asTuple);
    stream.expires_never();
    boost::system::error_code ignored;
    stream.socket().set_option(asio::ip::tcp::no_delay(true), ignored);
    socket.control_callback([this](websocket::frame_type, beast::string_view) { heard = true; });
    co_return !error;
}

Task<> MachineSocket::readUntilEnd(std::shared_ptr<MachineSession> session)
{
    for (;;) {
        auto incoming = co_await readMessage(session);
        if (!incoming)
            co_return;
        if (!socket.got_text())
            continue;
        auto parsed = co_await parseOn(parts.workers, incoming->text);
        std::size_t const bytes = incoming->text.size();
        bool const wasAsked =
            parsed && session->received({*std::move(parsed), bytes, std::move(incoming->memory)});
        if (!wasAsked)
            co_await slowDown(bytes);
    }
}

/// A machine that sends too much is read later. TCP then slows it down, and nothing is lost.
Task<> MachineSocket::slowDown(std::size_t bytes)
{
    RateRules const& rules = parts.settings.rates;
    auto const self = shared_from_this();
    bool isFirst = true;
    auto const next = [&] {
        auto const wait = unasked.take("messages", rules.machineMessages, 1s);
        return wait ? wait
                    : unasked.take("bytes", rules.machineBytes, 1s, std::min(bytes, rules.machineBytes));
    };
    for (auto wait = next(); wait; wait = next()) {
        if (std::exchange(isFirst, false))
            parts.metrics.refused(Refusal::machineMessages);
        co_await parts.clock.sleep(*wait);
        heard = true; // Its pongs wait unread behind the messages.
    }
}

Task<std::optional<MachineSocket::Incoming>>
MachineSocket::readMessage(std::shared_ptr<MachineSession> session)
{
    Incoming incoming;
    auto buffer = asio::dynamic_buffer(incoming.text);
    do {
        auto const [error, count] = co_await socket.async_read_some(buffer, readPiece, asTuple);
        heard = true;
        if (error)
            co_return std::nullopt;
        if (!takeRoom(*session, incoming))
            co_return std::nullopt;
    } while (!socket.is_message_done());
    co_return incoming;
}

bool MachineSocket::takeRoom(MachineSession const& session, Incoming& incoming)
{
    std::size_t const bytes = incoming.text.size();
    if (bytes > parts.settings.limits.machineMessage) {
        parts.metrics.refused(Refusal::machineMessageSize);
        close(websocket::close_code::too_big, "this message is too large");
        return false;
    }
    if (bytes <= parts.settings.limits.unaskedMessage)
        return true;
    if (!session.owesReply()) {
        parts.metrics.refused(Refusal::machineMessageSize);
        close(websocket::close_code::too_big, "a message this large was not asked for");
        return false;
    }
    if (!memory->grow(incoming.memory, memoryFactor * bytes)) {
        parts.metrics.refused(Refusal::memory);
        close(websocket::close_code::try_again_later, "the gateway is short of memory");
        return false;
    }
    return true;
}

void MachineSocket::send(std::string text)
{
    if (closing || dropped)
        return;
    outgoing.push_back(std::move(text));
    if (std::exchange(writing, true))
        return;
    spawn(executor(), [self = shared_from_this()] { return self->writeQueue(); });
}

Task<> MachineSocket::writeQueue()
{
    while (!outgoing.empty() && !dropped) {
        std::string const text = std::move(outgoing.front());
        outgoing.pop_front();
        socket.text(true);
        auto const [error, count] = co_await socket.async_write(asio::buffer(text), asTuple);
        if (error) {
            drop();
            break;
        }
    }
    writing = false;
}

Task<> MachineSocket::keepAlive()
{
    while (!dropped) {
        heard = false;
        ping();
        pingTimer.expires_after(parts.settings.pingPeriod);
        auto const [error] = co_await pingTimer.async_wait(asTuple);
        if (error)
            co_return;
        if (!heard)
            drop(); // The reading task then ends.
        else if (isStalled()) {
            parts.metrics.refused(Refusal::machineStall);
            close(websocket::close_code::policy_error, "this machine does not read what it is sent");
        }
    }
}

/// Whether a write makes no progress: what is sent to a machine that only sends would stay in memory for
/// good.
bool MachineSocket::isStalled()
{
    auto const now = std::chrono::steady_clock::now();
    std::uint64_t const bytes = acknowledgedBytes(beast::get_lowest_layer(socket).socket());
    if (!writing || bytes == 0 || bytes != acknowledged) // 0: the system does not say.
        progressed = now;
    acknowledged = bytes;
    return now - progressed >= parts.settings.limits.machineStall;
}

void MachineSocket::ping()
{
    if (std::exchange(pinging, true))
        return; // The last one still waits behind what is being written.
    socket.async_ping({}, [self = shared_from_this()](boost::system::error_code) { self->pinging = false; });
}

void MachineSocket::close(int code, std::string reason)
{
    if (std::exchange(closing, true))
        return;
    outgoing.clear();
    spawn(executor(), [self = shared_from_this(), code, reason = std::move(reason)] {
        return self->closeThenDrop(code, reason);
    });
}

Task<> MachineSocket::closeThenDrop(int code, std::string reason)
{
    asio::steady_timer patience(executor());
    patience.expires_after(closePatience);
    patience.async_wait([self = shared_from_this()](boost::system::error_code error) {
        if (!error)
            self->drop();
    });
    websocket::close_reason const told(static_cast<websocket::close_code>(code), reason);
    co_await socket.async_close(told, asTuple);
    drop();
}

void MachineSocket::drop()
{
    if (std::exchange(dropped, true))
        return;
    pingTimer.cancel();
    beast::get_lowest_layer(socket).close();
}

} // namespace zelvo::service
