#include "platform/portable/net/BeastSession.h"

#include "platform/portable/net/NetworkFailures.h"
#include "platform/portable/net/TransportConnector.h"
#include "platform/portable/net/TransportStream.h"
#include "platform/portable/net/WebSocketAddress.h"

#include <boost/beast/http/error.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <utility>
#include <vector>

namespace zelvo {

namespace {

namespace websocket = boost::beast::websocket;
using ErrorCode = boost::system::error_code;
using Kind = NetworkFailure::Kind;

constexpr std::size_t maxMessageBytes = std::size_t{192} << 20;
constexpr std::size_t fragmentBytes = std::size_t{64} << 10;
constexpr Duration goodbyeTime = 1s;

NetworkFailure webSocketFailure(ErrorCode const& error)
{
    namespace http = boost::beast::http;
    if (error == websocket::error::closed || error == http::error::end_of_stream ||
        error == http::error::partial_message)
        return {Kind::lost, error.message()};
    return failureOf(error);
}

void assertHeadersSound(WebSocketRequest const& request)
{
    auto const hasControl = [](std::string const& text) {
        return text.find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos;
    };
    for (auto const& [name, value] : request.headers)
        if (name.empty() || hasControl(name) || hasControl(value))
            throw NetworkFailure{Kind::other, "a header holds a line break"};
}

} // namespace

struct BeastSession::Stream {
    explicit Stream(Executor executor) : socket(std::move(executor)) {}
    TransportStream& transport() { return socket.next_layer(); }

    websocket::stream<TransportStream, false> socket; // without compression
    websocket::ping_data pingPayload;
};

BeastSession::BeastSession(Contexts contexts, WebSocketRequest request)
    : contexts(contexts), request(std::move(request)), stream(std::make_unique<Stream>(contexts.agent)),
      connector(std::make_unique<TransportConnector>(
          stream->transport(), contexts.workers, [this] { throwIfEnded(); })),
      deadline(contexts.agent)
{
}

BeastSession::~BeastSession() = default;

// Connecting

Task<> BeastSession::connect()
{
    setDeadline(request.timeout, &BeastSession::connectingTookTooLong);
    try {
        assertHeadersSound(request);
        co_await openConnection();
        opened();
    } catch (NetworkFailure const& problem) {
        fail(problem);
    } catch (boost::system::system_error const& problem) {
        fail(webSocketFailure(problem.code()));
    }
}

Task<> BeastSession::openConnection()
{
    throwIfEnded();
    WebSocketAddress const address = parseWebSocketAddress(request.url);
    co_await connector->connect(address);
    prepareStream();
    std::string const host = address.hostHeader();
    co_await stream->socket.async_handshake(host, address.target, asio::use_awaitable);
}

void BeastSession::prepareStream()
{
    TransportStream& transport = stream->transport();
    auto& socket = stream->socket;
    transport.onStatus = [this](int status) {
        answers.change([status](PeerAnswers& known) { known.httpStatus = status; });
        if (status != 101)
            fail({Kind::other, "the server answered with HTTP status " + std::to_string(status)});
    };
    transport.onTearDown = [this] { setDeadline(goodbyeTime, &BeastSession::drop); };
    auto addHeaders = [this](websocket::request_type& head) {
        for (auto const& [name, value] : request.headers)
            head.set(name, value);
    };
    socket.set_option(websocket::stream_base::decorator(addHeaders));
    socket.control_callback([this](websocket::frame_type kind, boost::beast::string_view payload) {
        if (kind == websocket::frame_type::close)
            peerClosed();
        else if (kind == websocket::frame_type::pong)
            pongArrived({payload.data(), payload.size()});
    });
    socket.read_message_max(maxMessageBytes);
    // Fragments let pings, pongs and the close frame pass in the middle of a large message.
    socket.auto_fragment(true);
    socket.write_buffer_bytes(fragmentBytes);
    socket.text(true);
}

void BeastSession::opened()
{
    throwIfEnded();
    ++deadlineRound;
    deadline.cancel();
    phase = Phase::open;
    readNext();
    writeNext();
    pingNext();
}

void BeastSession::connectingTookTooLong()
{
    fail({Kind::timedOut, "the connection was not up in time"});
}

void BeastSession::throwIfEnded() const
{
    if (failure)
        throw *failure;
}

// Reading

void BeastSession::readNext()
{
    if (reading || phase != Phase::open)
        return;
    if (!inbox.hasRoomFor(assembly.size())) {
        isHolding = true;
        held = true;
        return;
    }
    isHolding = false;
    reading = true;
    auto const room = assembly.room(assembly.size() == 0 ? 0 : stream->socket.read_size_hint(1));
    stream->socket.async_read_some(
        asio::buffer(room.data(), room.size()),
        [self = shared_from_this()](ErrorCode error, std::size_t count) { self->readDone(error, count); });
}

void BeastSession::readDone(ErrorCode error, std::size_t count)
{
    reading = false;
    if (error) {
        if (phase != Phase::closing || failure->kind == Kind::lost)
            fail(webSocketFailure(error));
        return;
    }
    if (phase != Phase::open)
        return;
    assembly.filled(count);
    if (stream->socket.is_message_done()) {
        auto const kind =
            stream->socket.got_text() ? WebSocketMessage::Kind::text : WebSocketMessage::Kind::binary;
        inbox.put({kind, assembly.take()});
        deliver();
    }
    readNext();
}

void BeastSession::receive(std::uint64_t id, OnMessage onMessage)
{
    receiver.emplace(std::move(onMessage));
    receiverId = id;
    deliver();
    if (isHolding)
        readNext();
}

void BeastSession::abandonReceive(std::uint64_t id)
{
    if (!receiver || receiverId != id)
        return;
    auto aborted = std::make_exception_ptr(boost::system::system_error(asio::error::operation_aborted));
    takeReceiver()(std::move(aborted), WebSocketMessage{});
}

void BeastSession::deliver()
{
    if (!receiver)
        return;
    if (auto message = inbox.take())
        takeReceiver()(nullptr, *std::move(message));
    else if (failure)
        takeReceiver()(std::make_exception_ptr(*failure), WebSocketMessage{});
}

BeastSession::OnMessage BeastSession::takeReceiver()
{
    OnMessage taken = *std::move(receiver);
    receiver.reset();
    return taken;
}

// Writing

void BeastSession::send(std::string text, OnSent onSent)
{
    if (failure)
        return std::move(onSent)(std::make_exception_ptr(*failure));
    outgoing.push_back({std::move(text), std::move(onSent)});
    writeNext();
}

void BeastSession::writeNext()
{
    if (writing || phase != Phase::open || outgoing.empty())
        return;
    writing = true;
    stream->socket.async_write(
        asio::buffer(outgoing.front().text),
        [self = shared_from_this()](ErrorCode error, std::size_t) { self->writeDone(error); });
}

void BeastSession::writeDone(ErrorCode error)
{
    writing = false;
    Outgoing done = std::move(outgoing.front());
    outgoing.pop_front();
    if (failure)
        return;
    std::move(done.onSent)(error ? std::make_exception_ptr(webSocketFailure(error)) : nullptr);
    if (error)
        return fail(webSocketFailure(error));
    writeNext();
}

void BeastSession::ping(PendingPings::OnPong onPong)
{
    if (failure)
        return onPong(false);
    held = isHolding;
    pings.add(std::move(onPong));
    pingNext();
}

void BeastSession::pingNext()
{
    if (pinging || phase != Phase::open)
        return;
    auto const payload = pings.nextToSend();
    if (!payload)
        return;
    pinging = true;
    stream->pingPayload.assign(payload->data(), payload->size());
    // Beast keeps a ping that waits for a write inside the stream, so it must not own the session.
    stream->socket.async_ping(stream->pingPayload, [weak = weak_from_this()](ErrorCode error) {
        auto const self = weak.lock();
        if (!self)
            return;
        self->pinging = false;
        if (error && !self->failure)
            return self->fail(webSocketFailure(error));
        self->pingNext();
    });
}

void BeastSession::pongArrived(std::string_view payload)
{
    for (auto const& onPong : pings.answeredBy(payload))
        onPong(true);
}

void BeastSession::peerClosed()
{
    auto const& close = stream->socket.reason();
    answers.change([&close](PeerAnswers& known) {
        if (close.code == websocket::close_code::none)
            return;
        known.closeCode = close.code;
        known.closeReason = std::string(close.reason.data(), close.reason.size());
    });
    if (phase == Phase::open)
        phase = Phase::closing;
    end({Kind::lost, "the server closed the connection with code " + std::to_string(close.code)});
    setDeadline(goodbyeTime,
                &BeastSession::drop); // Our close frame may wait behind an unread message.
}

// The end

void BeastSession::cancel(std::optional<int> code)
{
    bool const mayClose = code && phase == Phase::open;
    end({Kind::cancelled, "cancelled"});
    if (mayClose) {
        phase = Phase::closing;
        setDeadline(goodbyeTime, &BeastSession::drop);
        websocket::close_reason const reason(static_cast<std::uint16_t>(*code));
        stream->socket.async_close(reason, [weak = weak_from_this()](ErrorCode) {
            if (auto const self = weak.lock())
                self->drop();
        });
    } else if (!code || phase == Phase::connecting) {
        drop();
    }
}

void BeastSession::ownerGone()
{
    if (phase == Phase::connecting || phase == Phase::open)
        fail({Kind::cancelled, "cancelled"});
}

void BeastSession::fail(NetworkFailure problem)
{
    end(std::move(problem));
    drop();
}

/// Ends the session for its owner: all pending calls fail. The connection is not touched.
void BeastSession::end(NetworkFailure problem)
{
    if (failure)
        return;
    failure = std::move(problem);
    std::vector<OnSent> unsent;
    unsent.reserve(outgoing.size());
    for (Outgoing& message : outgoing)
        unsent.push_back(std::move(message.onSent));
    while (outgoing.size() > (writing ? 1U : 0U))
        outgoing.pop_back(); // The message that is being written must live until its write ends.
    for (OnSent& onSent : unsent)
        std::move(onSent)(std::make_exception_ptr(*failure));
    deliver();
    for (auto const& onPong : pings.takeAll())
        onPong(false);
}

void BeastSession::drop()
{
    if (phase == Phase::dropped)
        return;
    phase = Phase::dropped;
    ++deadlineRound;
    deadline.cancel();
    connector->cancel();
    stream->transport().close();
}

void BeastSession::setDeadline(Duration time, void (BeastSession::*onDue)())
{
    if (phase == Phase::dropped)
        return;
    deadline.expires_after(time);
    deadline.async_wait([self = shared_from_this(), round = ++deadlineRound, onDue](ErrorCode stopped) {
        if (!stopped && self->deadlineRound == round)
            (self.get()->*onDue)();
    });
}

} // namespace zelvo
