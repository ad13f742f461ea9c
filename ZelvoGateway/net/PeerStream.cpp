#include "ZelvoGateway/net/PeerStream.h"

#include <boost/asio/bind_executor.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/websocket/teardown.hpp>

#include <exception>

namespace zelvo::service {

namespace {

constexpr Duration farewellTime = 2s;

} // namespace

PeerStream::PeerStream(executor_type executor)
    : tcp(std::make_unique<boost::beast::tcp_stream>(std::move(executor)))
{
}

PeerStream::PeerStream(asio::ip::tcp::socket socket, std::shared_ptr<TlsContext> context)
    : tcp(std::make_unique<boost::beast::tcp_stream>(std::move(socket)))
{
    if (context)
        tls = std::make_unique<TlsLayer>(*tcp, std::move(context));
}

PeerStream::PeerStream(PeerStream&& other) noexcept = default;

PeerStream::~PeerStream() = default;

Task<PeerStream::ErrorCode> PeerStream::begin(Duration limit)
{
    if (!tls)
        co_return ErrorCode();
    tcp->expires_after(limit);
    co_return co_await tls->handshake(TlsLayer::Side::server);
}

Task<PeerStream::ErrorCode> PeerStream::beginAsClient(std::shared_ptr<TlsContext> context, std::string host)
{
    tls = std::make_unique<TlsLayer>(*tcp, std::move(context));
    co_return co_await tls->handshake(TlsLayer::Side::client, std::move(host));
}

Task<> PeerStream::finishSending(Duration limit)
{
    if (!tcp) // It was handed on.
        co_return;
    if (tls) {
        tcp->expires_after(limit);
        co_await tls->shutDown();
        tls.reset();
    }
    ErrorCode ignored;
    tcp->socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
}

void PeerStream::close()
{
    if (tcp)
        tcp->close();
}

/// TLS says goodbye first; TCP then ends as for any WebSocket.
void PeerStream::tearDown(boost::beast::role_type role, asio::any_completion_handler<void(ErrorCode)> done)
{
    auto endTcp = [this, role, done = std::move(done)](std::exception_ptr) mutable {
        boost::beast::websocket::async_teardown(role, tcp->socket(),
                                                asio::bind_executor(get_executor(), std::move(done)));
    };
    if (!tls)
        return std::move(endTcp)(nullptr);
    tcp->expires_after(farewellTime);
    asio::co_spawn(get_executor(), tls->shutDown(), std::move(endTcp));
}

} // namespace zelvo::service
