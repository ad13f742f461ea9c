#include "BareMachine.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/field.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <stdexcept>
#include <string_view>
#include <thread>

namespace zelvo {

namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;
using tcp = asio::ip::tcp;
using ErrorCode = boost::system::error_code;

constexpr std::string_view heartbeat =
    R"({"method":"heartbeat","params":{"appVersion":"0.1.0","availability":"ready","computerName":"bench",)"
    R"("macosVersion":"12.0.0","mode":"connected","permissions":{"accessibility":true,"screenRecording":true},)"
    R"("paused":false,"hiddenAppCount":0,"display":{"displayId":66,"heightPoints":1080,"scaleFactor":1,)"
    R"("widthPoints":1920},"diskFreeGb":1.5,"memUsedMb":40,"recording":"off",)"
    R"("features":["connection_names","agents"]}})";

/// The text after `"id":"`, which is the first member of a frame.
std::string_view idOf(std::string_view frame)
{
    constexpr std::string_view name = "\"id\":\"";
    std::size_t const found = frame.find(name);
    if (found == std::string_view::npos)
        throw std::runtime_error("a frame without an id");
    std::string_view const rest = frame.substr(found + name.size());
    return rest.substr(0, rest.find('"'));
}

} // namespace

struct BareMachine::State {
    State(std::uint16_t port, std::string const& token, std::string text) : result(std::move(text))
    {
        socket.next_layer().connect({asio::ip::address_v4::loopback(), port});
        socket.next_layer().set_option(tcp::no_delay(true));
        socket.read_message_max(0);
        socket.text(true);
        socket.set_option(websocket::stream_base::decorator([&token](websocket::request_type& request) {
            if (!token.empty())
                request.set(boost::beast::http::field::authorization, "Bearer " + token);
            request.set("X-Zelvo-App-Version", "0.1.0");
        }));
        socket.handshake("127.0.0.1:" + std::to_string(port), "/machines/connect");
        if (!token.empty())
            socket.write(asio::buffer(heartbeat));
        thread = std::thread([this] { answerAll(); });
    }
    State(State const&) = delete;
    State& operator=(State const&) = delete;
    ~State()
    {
        socket.next_layer().shutdown(tcp::socket::shutdown_both, ignored);
        thread.join();
    }

    void answerAll()
    {
        std::string reply;
        while (true) {
            buffer.clear();
            ErrorCode error;
            socket.read(buffer, error);
            if (error)
                return;
            std::string_view const frame(static_cast<char const*>(buffer.cdata().data()), buffer.size());
            reply = "{\"id\":\"";
            reply += idOf(frame);
            reply += "\",\"result\":";
            reply += result;
            reply += '}';
            socket.write(asio::buffer(reply), error);
        }
    }

    asio::io_context io{1};
    websocket::stream<tcp::socket, false> socket{io};
    boost::beast::flat_buffer buffer;
    std::string result;
    ErrorCode ignored;
    std::thread thread;
};

BareMachine::BareMachine(std::uint16_t port, std::string const& token, std::string result)
    : state(std::make_unique<State>(port, token, std::move(result)))
{
}

BareMachine::~BareMachine() = default;

} // namespace zelvo
