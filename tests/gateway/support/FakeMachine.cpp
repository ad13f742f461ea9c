#include "gateway/support/FakeMachine.h"

#include "ZelvoGateway/net/PeerStream.h"
#include "ZelvoGateway/net/TlsClient.h"
#include "gateway/support/Gateway.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <boost/json/value_from.hpp>

#include <deque>

namespace zelvo::service {

namespace {

namespace beast = boost::beast;
namespace websocket = boost::beast::websocket;
constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);

struct Outgoing {
    std::shared_ptr<std::string const> bytes;
    bool text = true;
};

} // namespace

struct FakeMachine::State : std::enable_shared_from_this<FakeMachine::State> {
    State(asio::io_context& io, std::uint16_t port, std::string token, Options options)
        : port(port), token(std::move(token)), options(std::move(options)), socket(io.get_executor()),
          handler(this->options.handler)
    {
    }

    Task<> run();
    Task<bool> connect();
    Task<> readAll();
    Task<> writeAll();
    void send(Outgoing message);
    void startWriting();
    void answer(json::object const& frame);

    std::uint16_t port;
    std::string token;
    Options options;
    websocket::stream<PeerStream> socket; // thread
    std::deque<Outgoing> outgoing;        // thread
    bool connected = false;               // thread
    bool writing = false;                 // thread

    mutable std::mutex lock;
    std::optional<int> status;        // lock
    std::optional<int> closeCode;     // lock
    std::vector<json::object> frames; // lock
    Handler handler;                  // lock
    int pings = 0;                    // lock
};

Task<> FakeMachine::State::run()
{
    auto const self = shared_from_this();
    connected = co_await connect();
    startWriting();
    if (connected && options.reads)
        co_await readAll();
}

Task<bool> FakeMachine::State::connect()
{
    asio::ip::tcp::endpoint const endpoint(asio::ip::address_v4::loopback(), port);
    PeerStream& stream = beast::get_lowest_layer(socket);
    co_await stream.plain().async_connect(endpoint, asTuple);
    if (!options.tlsName.empty())
        if (co_await stream.beginAsClient(trustingContext(), options.tlsName)) {
            std::scoped_lock guard(lock);
            status = 0;
            co_return false;
        }
    socket.read_message_max(0);
    socket.set_option(websocket::stream_base::decorator([this](websocket::request_type& request) {
        request.set("Authorization", "Bearer " + token);
        if (!options.version.empty())
            request.set("X-Zelvo-App-Version", options.version);
        for (auto const& [name, value] : options.headers)
            request.set(name, value);
    }));
    socket.control_callback([this](websocket::frame_type type, beast::string_view) {
        std::scoped_lock guard(lock);
        pings += type == websocket::frame_type::ping;
    });
    websocket::response_type response;
    auto const [error] = co_await socket.async_handshake(response, "127.0.0.1:" + std::to_string(port),
                                                         "/machines/connect", asTuple);
    std::scoped_lock guard(lock);
    status = static_cast<int>(response.result_int());
    co_return !error;
}

Task<> FakeMachine::State::readAll()
{
    for (;;) {
        beast::flat_buffer buffer;
        auto const [error, count] = co_await socket.async_read(buffer, asTuple);
        if (error)
            break;
        if (auto const value = parseJson(beast::buffers_to_string(buffer.data())))
            answer(value->as_object());
    }
    std::scoped_lock guard(lock);
    closeCode = static_cast<int>(socket.reason().code);
}

void FakeMachine::State::answer(json::object const& frame)
{
    Handler handle;
    {
        std::scoped_lock guard(lock);
        frames.push_back(frame);
        handle = handler;
    }
    auto reply = handle(frame);
    if (!reply)
        return;
    (*reply)["id"] = frame.at("id");
    send({std::make_shared<std::string const>(writeJson(*reply))});
}

void FakeMachine::State::send(Outgoing message)
{
    outgoing.push_back(std::move(message));
    startWriting();
}

void FakeMachine::State::startWriting()
{
    if (connected && !outgoing.empty() && !std::exchange(writing, true))
        spawn(socket.get_executor(), [self = shared_from_this()] { return self->writeAll(); });
}

Task<> FakeMachine::State::writeAll()
{
    while (!outgoing.empty()) {
        Outgoing const message = std::move(outgoing.front());
        outgoing.pop_front();
        socket.binary(!message.text);
        auto const [error, count] = co_await socket.async_write(asio::buffer(*message.bytes), asTuple);
        if (error)
            outgoing.clear();
    }
    writing = false;
}

MachineThread::MachineThread() : work(io.get_executor()), thread([this] { io.run(); }) {}

MachineThread::~MachineThread()
{
    work.reset();
    io.stop();
    thread.join();
}

FakeMachine::FakeMachine(MachineThread& thread, std::uint16_t port, std::string token)
    : FakeMachine(thread, port, std::move(token), Options())
{
}

FakeMachine::FakeMachine(MachineThread& thread, std::uint16_t port, std::string token, Options options)
    : state(std::make_shared<State>(thread.io, port, std::move(token), std::move(options)))
{
    spawn(thread.io.get_executor(), [state = state] { return state->run(); });
}

FakeMachine::~FakeMachine()
{
    drop();
}

int FakeMachine::status()
{
    becomes([this] {
        std::scoped_lock guard(state->lock);
        return state->status.has_value();
    });
    std::scoped_lock guard(state->lock);
    return state->status.value_or(0);
}

void FakeMachine::onFrame(Handler handler)
{
    std::scoped_lock guard(state->lock);
    state->handler = std::move(handler);
}

void FakeMachine::sendText(std::string text)
{
    asio::post(state->socket.get_executor(), [state = state, text = std::make_shared<std::string const>(
                                                                 std::move(text))] { state->send({text}); });
}

void FakeMachine::sendBinary(std::string bytes)
{
    asio::post(state->socket.get_executor(),
               [state = state, bytes = std::make_shared<std::string const>(std::move(bytes))] {
                   state->send({bytes, false});
               });
}

void FakeMachine::sendBoth(std::shared_ptr<std::string const> bytes)
{
    asio::post(state->socket.get_executor(), [state = state, bytes = std::move(bytes)] {
        state->send({bytes});
        state->send({bytes, false});
    });
}

void FakeMachine::sendEvent(std::string const& event, json::object data, std::string const& connectionId)
{
    json::object message{{"event", event}, {"data", std::move(data)}};
    if (!connectionId.empty())
        message["connectionId"] = connectionId;
    sendText(writeJson(message));
}

namespace {

json::object heartbeatOf(std::string const& computerName, bool paused, std::string const& availability)
{
    return {
        {"appVersion", "0.1.0"},
        {"availability", availability},
        {"computerName", computerName},
        {"macosVersion", "12.0.0"},
        {"mode", "connected"},
        {"permissions", {{"accessibility", true}, {"screenRecording", false}}},
        {"paused", paused},
        {"hiddenAppCount", 2},
        {"display", {{"displayId", 66}, {"heightPoints", 1080}, {"scaleFactor", 1}, {"widthPoints", 1920}}},
        {"diskFreeGb", 1.5},
        {"memUsedMb", 40},
        {"recording", "off"},
        {"features", {"connection_names", "agents"}}};
}

} // namespace

void FakeMachine::heartbeat(std::string const& computerName, bool paused, std::string const& availability)
{
    json::object const params = heartbeatOf(computerName, paused, availability);
    sendText(writeJson(json::object{{"method", "heartbeat"}, {"params", params}}));
}

void FakeMachine::heartbeatWith(std::vector<std::string> const& connections)
{
    json::object params = heartbeatOf("box", false, "ready");
    params["grantedConnectionIds"] = json::value_from(connections);
    sendText(writeJson(json::object{{"method", "heartbeat"}, {"params", params}}));
}

void FakeMachine::drop()
{
    asio::post(state->socket.get_executor(),
               [state = state] { beast::get_lowest_layer(state->socket).close(); });
}

int FakeMachine::closeCode()
{
    becomes([this] {
        std::scoped_lock guard(state->lock);
        return state->closeCode.has_value();
    });
    std::scoped_lock guard(state->lock);
    return state->closeCode.value_or(-1);
}

std::vector<json::object> FakeMachine::frames() const
{
    std::scoped_lock guard(state->lock);
    return state->frames;
}

std::vector<json::object> FakeMachine::framesOf(std::string const& method) const
{
    std::vector<json::object> all = frames();
    std::erase_if(all, [&](json::object const& frame) { return frame.at("method").as_string() != method; });
    return all;
}

int FakeMachine::pings() const
{
    std::scoped_lock guard(state->lock);
    return state->pings;
}

std::optional<json::object> answerOk(json::object const&)
{
    return resultOf(json::object{{"ok", true}});
}

json::object resultOf(json::value value)
{
    return {{"result", std::move(value)}};
}

json::object errorOf(std::string const& code, std::string const& message)
{
    return {{"error", {{"code", code}, {"message", message}}}};
}

} // namespace zelvo::service
