#include "BareEcho.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <poll.h>

#include <stdexcept>
#include <thread>

namespace zelvo {

namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
using tcp = asio::ip::tcp;
using ErrorCode = boost::system::error_code;
using Stream = websocket::stream<tcp::socket, false>;

constexpr int longestStart = 30'000; // ms

} // namespace

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
    if (::poll(&waiting, 1, longestStart) != 1)
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
