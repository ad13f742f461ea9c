#include "ZelvoGateway/net/TlsLayer.h"

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/bind_executor.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <openssl/ssl.h>

#include <utility>
#include <vector>

namespace zelvo::service {

namespace {

namespace ssl = asio::ssl;

constexpr auto asTuple = asio::as_tuple(asio::use_awaitable);

bool isAddress(std::string const& host)
{
    boost::system::error_code notAnAddress;
    asio::ip::make_address(host, notAnAddress);
    return !notAnAddress;
}

} // namespace

struct TlsLayer::Stream {
    Stream(boost::beast::tcp_stream& tcp, std::shared_ptr<TlsContext> context)
        : context(std::move(context)), tls(tcp, *this->context)
    {
    }

    std::shared_ptr<TlsContext> context;
    ssl::stream<boost::beast::tcp_stream&> tls;
    std::vector<char> staged;
};

TlsLayer::TlsLayer(boost::beast::tcp_stream& tcp, std::shared_ptr<TlsContext> context)
    : stream(std::make_unique<Stream>(tcp, std::move(context)))
{
}

TlsLayer::~TlsLayer() = default;

Task<TlsLayer::ErrorCode> TlsLayer::handshake(Side side, std::string host)
{
    if (side == Side::client && !host.empty()) {
        if (!isAddress(host))
            SSL_set_tlsext_host_name(stream->tls.native_handle(), host.c_str());
        stream->tls.set_verify_callback(ssl::host_name_verification(host));
    }
    auto const type = side == Side::server ? ssl::stream_base::server : ssl::stream_base::client;
    auto const [error] = co_await stream->tls.async_handshake(type, asTuple);
    co_return error;
}

Task<> TlsLayer::shutDown()
{
    co_await stream->tls.async_shutdown(asTuple);
}

void TlsLayer::readSome(asio::mutable_buffer into, Handler handler)
{
    stream->tls.async_read_some(into, asio::bind_executor(stream->tls.get_executor(), std::move(handler)));
}

void TlsLayer::writeSome(asio::const_buffer from, Handler handler)
{
    stream->tls.async_write_some(from, asio::bind_executor(stream->tls.get_executor(), std::move(handler)));
}

asio::mutable_buffer TlsLayer::staging(std::size_t bytes)
{
    stream->staged = std::vector<char>(bytes); // Not kept at its largest size for every idle connection.
    return asio::buffer(stream->staged);
}

bool isPlainHttp(boost::system::error_code const& error)
{
    return error.category() == asio::error::get_ssl_category() &&
           ERR_GET_REASON(static_cast<unsigned long>(error.value())) == SSL_R_HTTP_REQUEST;
}

} // namespace zelvo::service
