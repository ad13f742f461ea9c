#include "platform/portable/net/TransportConnector.h"

#include "base/Base64.h"
#include "base/Clock.h"
#include "base/Hop.h"
#include "platform/portable/net/HttpHead.h"
#include "platform/portable/net/NetworkFailures.h"

#include <boost/asio/ip/address.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/system/system_error.hpp>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <array>
#include <iterator>
#include <memory>
#include <utility>

namespace zelvo {

namespace {

namespace ssl = asio::ssl;
using Kind = NetworkFailure::Kind;

constexpr Duration addressTime = 10s; ///< per address while the host has others

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
    boost::system::error_code notAnAddress;
    asio::ip::make_address(host, notAnAddress);
    return !notAnAddress;
}

std::string basicCredentials(std::string const& userInfo)
{
    auto const* const bytes = reinterpret_cast<unsigned char const*>(userInfo.data());
    return base64::encode({bytes, userInfo.size()});
}

std::string connectRequest(Proxy const& proxy, std::string const& authority)
{
    std::string head = "CONNECT " + authority + " HTTP/1.1\r\nHost: " + authority + "\r\n";
    if (!proxy.userInfo.empty())
        head += "Proxy-Authorization: Basic " + basicCredentials(proxy.userInfo) + "\r\n";
    return head + "\r\n";
}

/// Throws NetworkFailure unless a proxy's response opens the tunnel and nothing follows it.
void assertTunnelOpen(std::string const& answer)
{
    auto const length = headLength(answer);
    auto const status = statusOfHead(answer);
    if (!length || !status)
        throw NetworkFailure{Kind::other, "the proxy's answer can't be read"};
    if (*status / 100 != 2) {
        bool const isGateways = *status >= 502 && *status <= 504;
        throw NetworkFailure{isGateways ? Kind::unreachable : Kind::other,
                             "the proxy answered with HTTP status " + std::to_string(*status)};
    }
    // The server speaks only after us, so bytes after the head come from the proxy, and this is no tunnel.
    if (*length != answer.size())
        throw NetworkFailure{Kind::other, "the proxy sent more than its answer"};
}

} // namespace

TransportConnector::TransportConnector(Transport& transport,
                                       Executor workers,
                                       std::function<void()> throwIfEnded)
    : transport(transport), workers(std::move(workers)), throwIfEnded(std::move(throwIfEnded)),
      resolver(transport.socket.get_executor()), attemptLimit(transport.socket.get_executor())
{
}

void TransportConnector::cancel()
{
    attemptLimit.cancel();
    resolver.cancel();
}

Task<> TransportConnector::connect(WebSocketAddress address)
{
    auto const proxy = proxyFor(address.secure, address.host, address.port, environmentVariable);
    co_await connectTcp(proxy ? proxy->host : address.host, proxy ? proxy->port : address.port);
    transport.socket.set_option(tcp::no_delay(true));
    if (proxy)
        co_await tunnel(*proxy, address);
    if (address.secure)
        co_await startTls(address.host);
}

Task<> TransportConnector::connectTcp(std::string host, std::uint16_t port)
{
    auto const found = co_await resolver.async_resolve(host, std::to_string(port), asio::use_awaitable);
    throwIfEnded();
    ErrorCode mostSpecific;
    for (auto entry = found.begin(); entry != found.end(); ++entry) {
        ErrorCode const error = co_await tryAddress(entry->endpoint(), std::next(entry) == found.end());
        throwIfEnded();
        if (!error)
            co_return;
        // "No route" for one kind of address says less than another address's refusal.
        if (!mostSpecific || mostSpecific == asio::error::network_unreachable)
            mostSpecific = error;
    }
    throw boost::system::system_error(mostSpecific);
}

Task<TransportConnector::ErrorCode> TransportConnector::tryAddress(tcp::endpoint endpoint, bool isLast)
{
    transport.close();
    auto const isOver = std::make_shared<bool>(false);
    if (!isLast) {
        attemptLimit.expires_after(addressTime);
        attemptLimit.async_wait([this, isOver](ErrorCode stopped) {
            if (!stopped && !*isOver) // Until then the task keeps this object alive.
                transport.close();
        });
    }
    ErrorCode error;
    co_await transport.socket.async_connect(endpoint, asio::redirect_error(asio::use_awaitable, error));
    *isOver = true;
    attemptLimit.cancel();
    if (error == asio::error::operation_aborted)
        error = asio::error::timed_out;
    co_return error;
}

Task<> TransportConnector::tunnel(Proxy proxy, WebSocketAddress address)
{
    std::string const request = connectRequest(proxy, address.authority());
    co_await asio::async_write(transport.socket, asio::buffer(request), asio::use_awaitable);
    std::string const answer = co_await readAnswer();
    assertTunnelOpen(answer);
}

Task<std::string> TransportConnector::readAnswer()
{
    std::string answer;
    while (!headLength(answer) && answer.size() < maxHeadBytes) {
        std::array<char, 2048> block;
        auto const count =
            co_await transport.socket.async_read_some(asio::buffer(block), asio::use_awaitable);
        answer.append(block.data(), count);
    }
    co_return answer;
}

Task<> TransportConnector::startTls(std::string host)
{
    host = withoutLastDot(std::move(host));
    auto load = [] { return makeTlsContext(); };
    auto context = co_await on(workers, load); // Reads the certificate store: milliseconds.
    throwIfEnded();
    auto tls = std::make_unique<ssl::stream<tcp::socket&>>(transport.socket, *context);
    if (!isAddress(host))
        SSL_set_tlsext_host_name(tls->native_handle(), host.c_str());
    tls->set_verify_callback(ssl::host_name_verification(host));
    transport.tlsContext = std::move(context);
    transport.tls = std::move(tls);
    ErrorCode error;
    co_await transport.tls->async_handshake(ssl::stream_base::client,
                                            asio::redirect_error(asio::use_awaitable, error));
    if (!error)
        co_return;
    NetworkFailure problem = failureOf(error);
    if (long const verdict = SSL_get_verify_result(transport.tls->native_handle()); verdict != X509_V_OK)
        problem.description += std::string(": ") + X509_verify_cert_error_string(verdict);
    throw problem;
}

} // namespace zelvo
