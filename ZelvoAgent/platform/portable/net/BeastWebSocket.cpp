#include "platform/portable/net/BeastWebSocket.h"

#include "base/Base64.h"
#include "base/Hop.h"
#include "base/LockedBox.h"
#include "platform/portable/net/MessageAssembly.h"
#include "platform/portable/net/MessageInbox.h"
#include "platform/portable/net/NetworkFailures.h"
#include "platform/portable/net/PendingPings.h"
#include "platform/portable/net/ProxyChoice.h"
#include "platform/portable/net/TransportStream.h"
#include "platform/portable/net/WebSocketAddress.h"

#include <boost/asio/any_completion_handler.hpp>
#include <boost/asio/associated_cancellation_slot.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <deque>
#include <exception>
#include <utility>

namespace zelvo {

namespace {

namespace websocket = boost::beast::websocket;
namespace ssl = asio::ssl;
using tcp = asio::ip::tcp;
using ErrorCode = boost::system::error_code;
using Kind = NetworkFailure::Kind;

constexpr std::size_t maxMessageBytes = std::size_t{192} << 20;
constexpr std::size_t fragmentBytes = std::size_t{64} << 10;
constexpr Duration goodbyeTime = 1s;
constexpr Duration addressTime = 10s; ///< for one address of a host while others are left

using OnMessage = asio::any_completion_handler<void(std::exception_ptr, WebSocketMessage)>;
using OnSent = asio::any_completion_handler<void(std::exception_ptr)>;

/// What is known of the peer's answers, readable from any thread.
struct PeerAnswers {
    std::optional<int> httpStatus;
    std::optional<int> closeCode;
    std::optional<std::string> closeReason;
};

struct Outgoing {
    std::string text;
    OnSent onSent; ///< empty once it was told
};

NetworkFailure webSocketFailure(ErrorCode const& error)
{
    namespace http = boost::beast::http;
    if (error == websocket::error::closed || error == http::error::end_of_stream ||
        error == http::error::partial_message)
        return {Kind::lost, error.message()};
    return failureOf(error);
}

std::shared_ptr<ssl::context> makeTlsContext()
{
    auto context = std::make_shared<ssl::context>(ssl::context::tls_client);
    SSL_CTX_set_min_proto_version(context->native_handle(), TLS1_2_VERSION);
    context->set_default_verify_paths(); // Reads SSL_CERT_FILE and SSL_CERT_DIR.
    context->set_verify_mode(ssl::verify_peer);
    return context;
}

std::string withoutLastDot(std::string host)
{
    if (host.ends_with('.'))
        host.pop_back();
    return host;
}

bool isAddress(std::string const& host)
{
    ErrorCode notAnAddress;
    asio::ip::make_address(host, notAnAddress);
    return !notAnAddress;
}

std::string basicCredentials(std::string const& userInfo)
{
    auto const* const bytes = reinterpret_cast<unsigned char const*>(userInfo.data());
    return base64::encode({bytes, userInfo.size()});
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

/// One WebSocket's whole life. Whatever is under way holds the session; its owner may go at any time.
/// Thread: the agent's for everything but what is said to be readable from any.
class Session : public std::enable_shared_from_this<Session> {
public:
    Session(Contexts contexts, WebSocketRequest request)
        : contexts(contexts), agent(contexts.agent), request(std::move(request)), socket(agent),
          resolver(agent), deadline(agent), attemptLimit(agent)
    {
    }

    Task<> connect();
    void receive(std::uint64_t id, OnMessage onMessage);
    void abandonReceive(std::uint64_t id);
    void send(std::string text, OnSent onSent);
    void ping(PendingPings::OnPong onPong);
    void cancel(std::optional<int> code);
    void ownerGone();

    Executor executor() const { return agent; }
    PeerAnswers peerAnswers() const { return answers.get(); }
    bool readingWasHeld() const { return held; }
    std::uint64_t nextReceiveId() { return ++receiveIds; }

private:
    enum class Phase { connecting, open, closing, dropped };

    Task<> openConnection();
    Task<> connectTcp(std::string host, std::uint16_t port);
    Task<ErrorCode> tryAddress(tcp::endpoint endpoint, bool isLast);
    Task<> tunnel(Proxy proxy, WebSocketAddress address);
    Task<> startTls(std::string host);
    Task<> upgrade(WebSocketAddress address);
    void prepareStream();
    void opened();

    void readNext();
    void readDone(ErrorCode error, std::size_t count);
    void writeNext();
    void writeDone(ErrorCode error);
    void pingNext();
    void controlFrame(websocket::frame_type kind, std::string_view payload);
    void peerClosed();

    void end(NetworkFailure problem);
    void fail(NetworkFailure problem);
    void drop();
    void deliver();
    OnMessage takeReceiver();
    void setDeadline(Duration time, void (Session::*onDue)());
    void connectingTookTooLong();
    void throwIfEnded() const;
    TransportStream& stream() { return socket.next_layer(); }

    Contexts contexts;
    Executor agent;
    WebSocketRequest request;
    websocket::stream<TransportStream, false> socket; // without compression
    tcp::resolver resolver;
    asio::steady_timer deadline;
    asio::steady_timer attemptLimit;
    std::uint64_t attempt = 0;
    std::uint64_t deadlineRound = 0;

    Phase phase = Phase::connecting;
    std::optional<NetworkFailure> failure; // set once the session has ended for its owner
    MessageInbox inbox;
    MessageAssembly assembly;
    std::optional<OnMessage> receiver; // An emptied OnMessage can't be assigned to (Boost 1.81).
    std::uint64_t receiverId = 0;
    std::deque<Outgoing> outgoing;
    PendingPings pings;
    websocket::ping_data pingPayload;
    bool reading = false;
    bool writing = false;
    bool pinging = false;
    bool isHolding = false;

    std::atomic<bool> held = false;            // any thread
    std::atomic<std::uint64_t> receiveIds = 0; // any thread
    LockedBox<PeerAnswers> answers;            // any thread
};

// Connecting

Task<> Session::connect()
{
    setDeadline(request.timeout, &Session::connectingTookTooLong);
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

Task<> Session::openConnection()
{
    throwIfEnded();
    WebSocketAddress address = parseWebSocketAddress(request.url);
    auto const proxy = proxyFor(address.secure, address.host, address.port, environmentVariable);
    co_await connectTcp(proxy ? proxy->host : address.host, proxy ? proxy->port : address.port);
    stream().socket.set_option(tcp::no_delay(true));
    if (proxy)
        co_await tunnel(*proxy, address);
    if (address.secure)
        co_await startTls(address.host);
    co_await upgrade(address);
}

Task<> Session::connectTcp(std::string host, std::uint16_t port)
{
    auto const found = co_await resolver.async_resolve(host, std::to_string(port), asio::use_awaitable);
    throwIfEnded();
    ErrorCode telling;
    for (auto entry = found.begin(); entry != found.end(); ++entry) {
        ErrorCode const error = co_await tryAddress(entry->endpoint(), std::next(entry) == found.end());
        throwIfEnded();
        if (!error)
            co_return;
        // That one kind of address has no route says less than a refusal by another.
        if (!telling || telling == asio::error::network_unreachable)
            telling = error;
    }
    throw boost::system::system_error(telling);
}

Task<ErrorCode> Session::tryAddress(tcp::endpoint endpoint, bool isLast)
{
    stream().close();
    if (!isLast) {
        attemptLimit.expires_after(addressTime);
        attemptLimit.async_wait([self = shared_from_this(), tried = attempt](ErrorCode stopped) {
            if (!stopped && self->attempt == tried && self->phase == Phase::connecting)
                self->stream().close();
        });
    }
    ErrorCode error;
    co_await stream().socket.async_connect(endpoint, asio::redirect_error(asio::use_awaitable, error));
    ++attempt;
    attemptLimit.cancel();
    if (error == asio::error::operation_aborted)
        error = asio::error::timed_out;
    co_return error;
}

Task<> Session::tunnel(Proxy proxy, WebSocketAddress address)
{
    std::string const authority = address.authority();
    std::string head = "CONNECT " + authority + " HTTP/1.1\r\nHost: " + authority + "\r\n";
    if (!proxy.userInfo.empty())
        head += "Proxy-Authorization: Basic " + basicCredentials(proxy.userInfo) + "\r\n";
    head += "\r\n";
    co_await asio::async_write(stream().socket, asio::buffer(head), asio::use_awaitable);
    std::string answer;
    while (!headLength(answer) && answer.size() < maxHeadBytes) {
        std::array<char, 2048> block;
        auto const count = co_await stream().socket.async_read_some(asio::buffer(block), asio::use_awaitable);
        answer.append(block.data(), count);
    }
    auto const status = statusOfHead(answer);
    if (!headLength(answer) || !status)
        throw NetworkFailure{Kind::other, "the proxy's answer can't be read"};
    if (*status / 100 != 2) {
        bool const gateway = *status >= 502 && *status <= 504;
        throw NetworkFailure{gateway ? Kind::unreachable : Kind::other,
                             "the proxy answered with HTTP status " + std::to_string(*status)};
    }
    // The server speaks only after we did, so bytes behind the head are the proxy's and no tunnel's.
    if (headLength(answer) != answer.size())
        throw NetworkFailure{Kind::other, "the proxy sent more than its answer"};
}

Task<> Session::startTls(std::string host)
{
    host = withoutLastDot(std::move(host));
    auto load = [] { return makeTlsContext(); };
    auto context = co_await on(contexts.workers, load); // Reads the store of certificates: milliseconds.
    throwIfEnded();
    auto tls = std::make_unique<ssl::stream<tcp::socket&>>(stream().socket, *context);
    if (!isAddress(host))
        SSL_set_tlsext_host_name(tls->native_handle(), host.c_str());
    tls->set_verify_callback(ssl::host_name_verification(host));
    stream().tlsContext = std::move(context);
    stream().tls = std::move(tls);
    ErrorCode error;
    co_await stream().tls->async_handshake(ssl::stream_base::client,
                                           asio::redirect_error(asio::use_awaitable, error));
    if (!error)
        co_return;
    NetworkFailure problem = failureOf(error);
    if (long const verdict = SSL_get_verify_result(stream().tls->native_handle()); verdict != X509_V_OK)
        problem.description += std::string(": ") + X509_verify_cert_error_string(verdict);
    throw problem;
}

Task<> Session::upgrade(WebSocketAddress address)
{
    prepareStream();
    std::string const host = address.hostHeader();
    co_await socket.async_handshake(host, address.target, asio::use_awaitable);
}

void Session::prepareStream()
{
    stream().onStatus = [this](int status) {
        answers.change([status](PeerAnswers& known) { known.httpStatus = status; });
        if (status != 101)
            fail({Kind::other, "the server answered with HTTP status " + std::to_string(status)});
    };
    stream().onTearDown = [this] { setDeadline(goodbyeTime, &Session::drop); };
    auto addHeaders = [this](websocket::request_type& head) {
        for (auto const& [name, value] : request.headers)
            head.set(name, value);
    };
    socket.set_option(websocket::stream_base::decorator(addHeaders));
    socket.control_callback([this](websocket::frame_type kind, boost::beast::string_view payload) {
        controlFrame(kind, {payload.data(), payload.size()});
    });
    socket.read_message_max(maxMessageBytes);
    // Fragments let pings, pongs and the close frame through in the middle of a large message.
    socket.auto_fragment(true);
    socket.write_buffer_bytes(fragmentBytes);
    socket.text(true);
}

void Session::opened()
{
    throwIfEnded();
    ++deadlineRound;
    deadline.cancel();
    phase = Phase::open;
    readNext();
    writeNext();
    pingNext();
}

void Session::connectingTookTooLong()
{
    fail({Kind::timedOut, "the connection was not up in time"});
}

void Session::throwIfEnded() const
{
    if (failure)
        throw *failure;
}

// Reading

void Session::readNext()
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
    auto const room = assembly.room(assembly.size() == 0 ? 0 : socket.read_size_hint(1));
    socket.async_read_some(
        asio::buffer(room.data(), room.size()),
        [self = shared_from_this()](ErrorCode error, std::size_t count) { self->readDone(error, count); });
}

void Session::readDone(ErrorCode error, std::size_t count)
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
    if (socket.is_message_done()) {
        auto const kind = socket.got_text() ? WebSocketMessage::Kind::text : WebSocketMessage::Kind::binary;
        inbox.put({kind, assembly.take()});
        deliver();
    }
    readNext();
}

void Session::receive(std::uint64_t id, OnMessage onMessage)
{
    receiver.emplace(std::move(onMessage));
    receiverId = id;
    deliver();
    if (isHolding)
        readNext();
}

void Session::abandonReceive(std::uint64_t id)
{
    if (!receiver || receiverId != id)
        return;
    auto aborted = std::make_exception_ptr(boost::system::system_error(asio::error::operation_aborted));
    takeReceiver()(std::move(aborted), WebSocketMessage{});
}

void Session::deliver()
{
    if (!receiver)
        return;
    if (auto message = inbox.take())
        takeReceiver()(nullptr, *std::move(message));
    else if (failure)
        takeReceiver()(std::make_exception_ptr(*failure), WebSocketMessage{});
}

OnMessage Session::takeReceiver()
{
    OnMessage taken = *std::move(receiver);
    receiver.reset();
    return taken;
}

// Writing

void Session::send(std::string text, OnSent onSent)
{
    if (failure)
        return std::move(onSent)(std::make_exception_ptr(*failure));
    outgoing.push_back({std::move(text), std::move(onSent)});
    writeNext();
}

void Session::writeNext()
{
    if (writing || phase != Phase::open || outgoing.empty())
        return;
    writing = true;
    socket.async_write(asio::buffer(outgoing.front().text),
                       [self = shared_from_this()](ErrorCode error, std::size_t) { self->writeDone(error); });
}

void Session::writeDone(ErrorCode error)
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

void Session::ping(PendingPings::OnPong onPong)
{
    if (failure)
        return onPong(false);
    held = isHolding;
    pings.add(std::move(onPong));
    pingNext();
}

void Session::pingNext()
{
    if (pinging || phase != Phase::open)
        return;
    auto const payload = pings.nextToSend();
    if (!payload)
        return;
    pinging = true;
    pingPayload.assign(payload->data(), payload->size());
    // Beast keeps a ping that waits for a write inside the stream, so it must not hold the session.
    socket.async_ping(pingPayload, [weak = weak_from_this()](ErrorCode error) {
        auto const self = weak.lock();
        if (!self)
            return;
        self->pinging = false;
        if (error && !self->failure)
            return self->fail(webSocketFailure(error));
        self->pingNext();
    });
}

void Session::controlFrame(websocket::frame_type kind, std::string_view payload)
{
    if (kind == websocket::frame_type::close)
        return peerClosed();
    if (kind != websocket::frame_type::pong)
        return;
    for (auto const& onPong : pings.answeredBy(payload))
        onPong(true);
}

void Session::peerClosed()
{
    auto const& close = socket.reason();
    answers.change([&close](PeerAnswers& known) {
        if (close.code == websocket::close_code::none)
            return;
        known.closeCode = close.code;
        known.closeReason = std::string(close.reason.data(), close.reason.size());
    });
    if (phase == Phase::open)
        phase = Phase::closing;
    end({Kind::lost, "the server closed the connection with code " + std::to_string(close.code)});
    setDeadline(goodbyeTime, &Session::drop); // Our close frame may wait behind a message that nobody reads.
}

// The end

void Session::cancel(std::optional<int> code)
{
    bool const mayClose = code && phase == Phase::open;
    end({Kind::cancelled, "cancelled"});
    if (mayClose) {
        phase = Phase::closing;
        setDeadline(goodbyeTime, &Session::drop);
        websocket::close_reason const reason(static_cast<std::uint16_t>(*code));
        socket.async_close(reason, [weak = weak_from_this()](ErrorCode) {
            if (auto const self = weak.lock())
                self->drop();
        });
    } else if (!code || phase == Phase::connecting) {
        drop();
    }
}

void Session::ownerGone()
{
    if (phase == Phase::connecting || phase == Phase::open)
        fail({Kind::cancelled, "cancelled"});
}

void Session::fail(NetworkFailure problem)
{
    end(std::move(problem));
    drop();
}

/// Ends the session for its owner: all that wait are told. The connection is not touched.
void Session::end(NetworkFailure problem)
{
    if (failure)
        return;
    failure = std::move(problem);
    std::vector<OnSent> unsent;
    unsent.reserve(outgoing.size());
    for (Outgoing& message : outgoing)
        unsent.push_back(std::move(message.onSent));
    while (outgoing.size() > (writing ? 1U : 0U))
        outgoing.pop_back(); // What is being written must stay until its write is over.
    for (OnSent& onSent : unsent)
        std::move(onSent)(std::make_exception_ptr(*failure));
    deliver();
    for (auto const& onPong : pings.takeAll())
        onPong(false);
}

void Session::drop()
{
    if (phase == Phase::dropped)
        return;
    phase = Phase::dropped;
    ++deadlineRound;
    deadline.cancel();
    attemptLimit.cancel();
    resolver.cancel();
    stream().close();
}

void Session::setDeadline(Duration time, void (Session::*onDue)())
{
    if (phase == Phase::dropped)
        return;
    deadline.expires_after(time);
    deadline.async_wait([self = shared_from_this(), round = ++deadlineRound, onDue](ErrorCode stopped) {
        if (!stopped && self->deadlineRound == round)
            (self.get()->*onDue)();
    });
}

/// A handler that finishes on its caller's executor, never inside the call that starts it.
template <class Handler>
auto atHome(Handler handler)
{
    auto const home = asio::get_associated_executor(handler);
    return [home, handler = std::move(handler)](auto... results) mutable {
        asio::post(home, [handler = std::move(handler), ... results = std::move(results)]() mutable {
            auto slot = asio::get_associated_cancellation_slot(handler);
            if (slot.is_connected())
                slot.clear();
            std::move(handler)(std::move(results)...);
        });
    };
}

/// What waits does not hold the session: a loop that ends in the middle then leaves nothing behind.
Task<WebSocketMessage> receiveFrom(std::shared_ptr<Session> session)
{
    auto start = [session = std::move(session)](auto handler) mutable {
        std::uint64_t const id = session->nextReceiveId();
        Executor const executor = session->executor();
        auto slot = asio::get_associated_cancellation_slot(handler);
        if (slot.is_connected())
            slot.assign([weak = std::weak_ptr(session), executor, id](asio::cancellation_type) {
                asio::dispatch(executor, [weak, id] {
                    if (auto const alive = weak.lock())
                        alive->abandonReceive(id);
                });
            });
        asio::dispatch(executor, [session = std::move(session), id,
                                  onMessage = OnMessage(atHome(std::move(handler)))]() mutable {
            session->receive(id, std::move(onMessage));
        });
    };
    co_return co_await asio::async_initiate<decltype(asio::use_awaitable),
                                            void(std::exception_ptr, WebSocketMessage)>(std::move(start),
                                                                                        asio::use_awaitable);
}

Task<> sendThrough(std::shared_ptr<Session> session, std::string text)
{
    auto start = [session = std::move(session), text = std::move(text)](auto handler) mutable {
        Executor const executor = session->executor();
        asio::dispatch(executor, [session = std::move(session), text = std::move(text),
                                  onSent = OnSent(atHome(std::move(handler)))]() mutable {
            session->send(std::move(text), std::move(onSent));
        });
    };
    co_await asio::async_initiate<decltype(asio::use_awaitable), void(std::exception_ptr)>(
        std::move(start), asio::use_awaitable);
}

class BeastWebSocket final : public WebSocket {
public:
    BeastWebSocket(Contexts contexts, WebSocketRequest request)
        : session(std::make_shared<Session>(contexts, std::move(request)))
    {
        spawn(session->executor(), [session = session] { return session->connect(); });
    }
    ~BeastWebSocket() override
    {
        asio::dispatch(session->executor(), [session = session] { session->ownerGone(); });
    }
    BeastWebSocket(BeastWebSocket const&) = delete;
    BeastWebSocket& operator=(BeastWebSocket const&) = delete;

    Task<WebSocketMessage> receive() override { return receiveFrom(session); }
    Task<> send(std::string text) override { return sendThrough(session, std::move(text)); }
    void sendPing(std::function<void(bool)> onPong) override
    {
        asio::post(session->executor(), [session = session, onPong = std::move(onPong)]() mutable {
            session->ping(std::move(onPong));
        });
    }
    bool readingWasHeld() const override { return session->readingWasHeld(); }
    void cancel(std::optional<int> closeCode) override
    {
        asio::dispatch(session->executor(), [session = session, closeCode] { session->cancel(closeCode); });
    }
    std::optional<int> httpStatus() const override { return session->peerAnswers().httpStatus; }
    std::optional<int> closeCode() const override { return session->peerAnswers().closeCode; }
    std::optional<std::string> closeReason() const override { return session->peerAnswers().closeReason; }

private:
    std::shared_ptr<Session> session;
};

} // namespace

BeastWebSocketOpener::BeastWebSocketOpener(Contexts contexts) : contexts(std::move(contexts)) {}

std::shared_ptr<WebSocket> BeastWebSocketOpener::open(WebSocketRequest request)
{
    return std::make_shared<BeastWebSocket>(contexts, std::move(request));
}

} // namespace zelvo
