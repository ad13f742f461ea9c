#include "BareEcho.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace zelvo {

namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
using tcp = asio::ip::tcp;
using ErrorCode = boost::system::error_code;
using Stream = websocket::stream<tcp::socket, false>;

constexpr int maxStart = 30'000; // ms
constexpr auto betweenPings = std::chrono::milliseconds(10);

} // namespace

/// Sends one ping after another and measures the time until each pong.
class Pings {
public:
    explicit Pings(Stream& socket) : socket(socket), timer(socket.get_executor())
    {
        socket.control_callback([this](websocket::frame_type kind, boost::beast::string_view) {
            if (kind == websocket::frame_type::pong && !isAnswered) // Not one of an earlier exchange.
                noteAnswer();
        });
    }
    Pings(Pings const&) = delete;
    Pings& operator=(Pings const&) = delete;
    ~Pings() { socket.control_callback(); }

    void next()
    {
        isAnswered = false;
        sentAt = std::chrono::steady_clock::now();
        socket.async_ping({}, [](ErrorCode) {});
    }
    /// The message that ended the exchange counts as the last ping's answer.
    double end()
    {
        if (!isAnswered)
            noteAnswer();
        timer.cancel();
        hasEnded = true;
        return longest;
    }

private:
    void noteAnswer()
    {
        std::chrono::duration<double, std::milli> const taken = std::chrono::steady_clock::now() - sentAt;
        longest = std::max(longest, taken.count());
        isAnswered = true;
        timer.expires_after(betweenPings);
        timer.async_wait([this](ErrorCode error) {
            if (!error && !hasEnded)
                next();
        });
    }

    Stream& socket;
    asio::steady_timer timer;
    std::chrono::steady_clock::time_point sentAt;
    double longest = 0;
    bool isAnswered = true;
    bool hasEnded = false;
};

struct EchoDriver::State {
    asio::io_context io;
    tcp::acceptor acceptor{io, {asio::ip::address_v4::loopback(), 0}};
    Stream socket{io};
    boost::beast::flat_buffer buffer;
};

EchoDriver::EchoDriver() : state(std::make_unique<State>()) {}

EchoDriver::~EchoDriver() = default;

std::uint16_t EchoDriver::port() const
{
    return state->acceptor.local_endpoint().port();
}

void EchoDriver::accept()
{
    pollfd waiting{.fd = state->acceptor.native_handle(), .events = POLLIN, .revents = 0};
    if (::poll(&waiting, 1, maxStart) != 1)
        throw std::runtime_error("nobody has connected");
    state->acceptor.accept(state->socket.next_layer());
    state->socket.next_layer().set_option(tcp::no_delay(true));
    state->socket.read_message_max(0);
    state->socket.text(true);
    state->socket.accept();
}

std::size_t EchoDriver::roundTrip(std::string const& text)
{
    state->socket.write(asio::buffer(text));
    return receive().size();
}

double EchoDriver::roundTripUnderPings(std::string const& text)
{
    Pings pings(state->socket);
    double longest = 0;
    state->buffer.clear();
    state->socket.async_write(asio::buffer(text), [&](ErrorCode, std::size_t) { pings.next(); });
    state->socket.async_read(state->buffer, [&](ErrorCode error, std::size_t) {
        if (error)
            throw boost::system::system_error(error);
        longest = pings.end();
    });
    state->io.restart();
    state->io.run();
    return longest;
}

std::string_view EchoDriver::receive()
{
    state->buffer.clear();
    state->socket.read(state->buffer);
    return received();
}

std::string_view EchoDriver::received() const
{
    return {static_cast<char const*>(state->buffer.cdata().data()), state->buffer.size()};
}

struct BareEcho::State {
    void read()
    {
        buffer.clear();
        socket.async_read(buffer, [this](ErrorCode error, std::size_t) {
            if (!error)
                write();
        });
    }
    void write()
    {
        socket.async_write(buffer.data(), [this](ErrorCode error, std::size_t) {
            if (!error)
                read();
        });
    }

    asio::io_context io{1};
    Stream socket{io};
    boost::beast::flat_buffer buffer;
    std::thread thread;
};

BareEcho::BareEcho(std::uint16_t port) : state(std::make_unique<State>())
{
    state->thread = std::thread([state = state.get(), port] {
        state->socket.next_layer().connect({asio::ip::address_v4::loopback(), port});
        state->socket.next_layer().set_option(tcp::no_delay(true));
        state->socket.read_message_max(0);
        state->socket.text(true);
        state->socket.handshake("127.0.0.1", "/");
        state->read();
        state->io.run();
    });
}

BareEcho::~BareEcho()
{
    asio::post(state->io, [state = state.get()] { state->socket.next_layer().close(); });
    state->thread.join();
}

} // namespace zelvo
