#include "BareRelay.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace zelvo {

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using tcp = asio::ip::tcp;
using ErrorCode = boost::system::error_code;

} // namespace

struct BareRelay::State {
    State()
    {
        io.notify_fork(asio::io_context::fork_prepare);
        process = ::fork();
        if (process == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            io.notify_fork(asio::io_context::fork_child);
            run();
            ::_exit(0);
        }
        io.notify_fork(asio::io_context::fork_parent);
        acceptor.close();
        if (process < 0)
            throw std::runtime_error("no process for the relay");
    }
    State(State const&) = delete;
    State& operator=(State const&) = delete;
    ~State()
    {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }

    void run()
    {
        acceptor.async_accept(machine.next_layer(), [this](ErrorCode error) {
            if (!error)
                acceptMachine();
        });
        io.run();
    }
    void acceptMachine()
    {
        machine.next_layer().set_option(tcp::no_delay(true));
        machine.read_message_max(0);
        machine.text(true);
        machine.accept();
        acceptor.async_accept(client, [this](ErrorCode error) {
            if (error)
                return;
            client.set_option(tcp::no_delay(true));
            readRequest();
        });
    }
    void readRequest()
    {
        request = {};
        http::async_read(client, clientBuffer, request, [this](ErrorCode error, std::size_t) {
            if (!error)
                machine.async_write(asio::buffer(request.body()),
                                    [this](ErrorCode, std::size_t) { readReply(); });
        });
    }
    void readReply()
    {
        machineBuffer.clear();
        machine.async_read(machineBuffer, [this](ErrorCode error, std::size_t) {
            if (!error)
                answer();
        });
    }
    void answer()
    {
        response = {http::status::ok, 11};
        response.set(http::field::content_type, "application/json");
        response.body().assign(static_cast<char const*>(machineBuffer.cdata().data()), machineBuffer.size());
        response.prepare_payload();
        http::async_write(client, response, [this](ErrorCode error, std::size_t) {
            if (!error)
                readRequest();
        });
    }

    asio::io_context io{1};
    tcp::acceptor acceptor{io, {asio::ip::address_v4::loopback(), 0}};
    std::uint16_t const port = acceptor.local_endpoint().port();
    websocket::stream<tcp::socket, false> machine{io};
    tcp::socket client{io};
    boost::beast::flat_buffer machineBuffer;
    boost::beast::flat_buffer clientBuffer;
    http::request<http::string_body> request;
    http::response<http::string_body> response;
    pid_t process = 0;
};

BareRelay::BareRelay() : state(std::make_unique<State>()) {}

BareRelay::~BareRelay() = default;

std::uint16_t BareRelay::port() const
{
    return state->port;
}

} // namespace zelvo
