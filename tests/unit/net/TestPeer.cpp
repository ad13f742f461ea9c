#include "unit/net/TestPeer.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <boost/beast/websocket/stream.hpp>

namespace zelvo {

namespace {

using tcp = asio::ip::tcp;
namespace ssl = asio::ssl;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
using Secured = ssl::stream<tcp::socket>;
using ErrorCode = boost::system::error_code;

template <class Stream>
class StreamPeer final : public TestPeer {
public:
    template <class... Args>
    explicit StreamPeer(Args&&... args) : socket(std::forward<Args>(args)...)
    {
        socket.read_message_max(0);
        socket.auto_fragment(false);
        socket.set_option(websocket::stream_base::decorator(
            [](websocket::response_type& head) { head.set("X-Server", "test"); }));
        socket.control_callback([this](websocket::frame_type kind, beast::string_view payload) {
            if (kind == websocket::frame_type::ping)
                pings.emplace_back(payload);
            if (kind == websocket::frame_type::pong)
                pongs.emplace_back(payload);
        });
    }

    Task<> secure() override
    {
        if constexpr (std::is_same_v<Stream, Secured>) {
            co_await socket.next_layer().async_handshake(ssl::stream_base::server, asio::use_awaitable);
            if (char const* const name =
                    SSL_get_servername(socket.next_layer().native_handle(), TLSEXT_NAMETYPE_host_name))
                serverName = name;
        }
    }

    Task<> upgrade() override
    {
        co_await readHead();
        beast::http::request_parser<beast::http::string_body> parser;
        parser.eager(true);
        ErrorCode error;
        parser.put(asio::buffer(requestHead), error);
        co_await socket.async_accept(parser.get(), asio::use_awaitable);
    }

    Task<> answer(std::string bytes) override
    {
        co_await readHead();
        co_await writeRaw(std::move(bytes));
    }

    Task<std::optional<WebSocketMessage>> read() override
    {
        beast::flat_buffer buffer;
        ErrorCode error;
        co_await socket.async_read(buffer, asio::redirect_error(asio::use_awaitable, error));
        if (error)
            co_return std::nullopt;
        auto const kind = socket.got_text() ? WebSocketMessage::Kind::text : WebSocketMessage::Kind::binary;
        co_return WebSocketMessage{kind, beast::buffers_to_string(buffer.data())};
    }

    Task<> write(WebSocketMessage message) override
    {
        socket.text(message.kind == WebSocketMessage::Kind::text);
        co_await socket.async_write(asio::buffer(message.payload), asio::use_awaitable);
    }

    Task<> writeFragments(std::vector<std::string> parts) override
    {
        socket.text(true);
        for (std::size_t i = 0; i < parts.size(); ++i)
            co_await socket.async_write_some(i + 1 == parts.size(), asio::buffer(parts[i]),
                                             asio::use_awaitable);
    }

    Task<> ping(std::string payload) override
    {
        websocket::ping_data const data(payload);
        co_await socket.async_ping(data, asio::use_awaitable);
    }

    Task<> close(std::uint16_t code, std::string reason) override
    {
        websocket::close_reason why(code);
        why.reason = reason;
        ErrorCode ignored;
        co_await socket.async_close(why, asio::redirect_error(asio::use_awaitable, ignored));
    }

    Task<> writeRaw(std::string bytes) override
    {
        co_await asio::async_write(socket.next_layer(), asio::buffer(bytes), asio::use_awaitable);
    }

    Task<std::string> readRaw() override
    {
        std::string block(65536, '\0');
        ErrorCode error;
        auto const count = co_await socket.next_layer().async_read_some(
            asio::buffer(block), asio::redirect_error(asio::use_awaitable, error));
        block.resize(count);
        co_return block;
    }

    void reset() override
    {
        auto& lowest = beast::get_lowest_layer(socket);
        lowest.set_option(asio::socket_base::linger(true, 0));
        lowest.close();
    }

    std::uint16_t closeCode() const override { return socket.reason().code; }

private:
    Task<> readHead()
    {
        // A client sends nothing after its head before it has the answer.
        co_await asio::async_read_until(socket.next_layer(), asio::dynamic_buffer(requestHead), "\r\n\r\n",
                                        asio::use_awaitable);
    }

    websocket::stream<Stream> socket;
};

} // namespace

struct TestServer::State {
    explicit State(Executor executor) : acceptor(executor, tcp::endpoint(asio::ip::address_v4::loopback(), 0))
    {
    }

    tcp::acceptor acceptor;
    std::optional<ssl::context> tls;
};

TestServer::TestServer(Executor executor, TestCertificates const* certificates)
    : state(std::make_unique<State>(executor))
{
    if (!certificates)
        return;
    state->tls.emplace(ssl::context::tls_server);
    state->tls->use_certificate_chain(asio::buffer(certificates->certificate));
    state->tls->use_private_key(asio::buffer(certificates->key), ssl::context::pem);
}

TestServer::~TestServer() = default;

std::uint16_t TestServer::port() const
{
    return state->acceptor.local_endpoint().port();
}

std::string TestServer::url(std::string const& host) const
{
    return (state->tls ? "wss://" : "ws://") + host + ":" + std::to_string(port()) + "/machines/connect";
}

std::string TestServer::httpUrl(std::string const& host) const
{
    return (state->tls ? "https://" : "http://") + host + ":" + std::to_string(port()) + "/link";
}

Task<std::shared_ptr<TestPeer>> TestServer::accept()
{
    tcp::socket socket = co_await state->acceptor.async_accept(asio::use_awaitable);
    if (state->tls)
        co_return std::make_shared<StreamPeer<Secured>>(std::move(socket), *state->tls);
    co_return std::make_shared<StreamPeer<tcp::socket>>(std::move(socket));
}

Task<std::shared_ptr<TestPeer>> TestServer::acceptUpgraded()
{
    auto peer = co_await accept();
    co_await peer->secure();
    co_await peer->upgrade();
    co_return peer;
}

} // namespace zelvo
