#include "platform/portable/net/WebSocketAddress.h"

#include "platform/WebSocket.h"
#include "platform/portable/net/PortText.h"

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

namespace zelvo {

namespace {

constexpr std::uint16_t plainPort = 80;
constexpr std::uint16_t securePort = 443;

std::string targetOf(boost::urls::url_view const& url)
{
    std::string target(url.encoded_path());
    if (target.empty())
        target = "/";
    if (url.has_query())
        target += "?" + std::string(url.encoded_query());
    return target;
}

/// True for names and addresses. Other characters from a URL's escapes, a line break for instance, must not
/// get into a request head.
bool isPlainHost(std::string_view host)
{
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_:";
    return !host.empty() && host.find_first_not_of(letters) == std::string_view::npos;
}

} // namespace

std::string WebSocketAddress::bracketedHost() const
{
    return host.find(':') == std::string::npos ? host : "[" + host + "]";
}

std::string WebSocketAddress::authority() const
{
    return bracketedHost() + ":" + std::to_string(port);
}

std::string WebSocketAddress::hostHeader() const
{
    return port == (secure ? securePort : plainPort) ? bracketedHost() : authority();
}

WebSocketAddress parseWebSocketAddress(std::string_view url)
{
    auto const parsed = boost::urls::parse_uri(url);
    if (!parsed)
        throw NetworkFailure{NetworkFailure::Kind::other, "the address is not a valid URL"};
    WebSocketAddress address;
    address.secure = parsed->scheme_id() == boost::urls::scheme::wss;
    if (!address.secure && parsed->scheme_id() != boost::urls::scheme::ws)
        throw NetworkFailure{NetworkFailure::Kind::other, "the address is neither ws nor wss"};
    address.host = parsed->host_address();
    if (!isPlainHost(address.host))
        throw NetworkFailure{NetworkFailure::Kind::other, "the address names no host"};
    // Boost 1.81 reads a port modulo 65536, and takes other text in its place as a path.
    bool const hasPort = parsed->has_port() && !parsed->port().empty();
    auto const usual = address.secure ? securePort : plainPort;
    auto const port = hasPort ? parsePort(parsed->port()) : usual;
    bool const pathSound = parsed->encoded_path().empty() || parsed->encoded_path().front() == '/';
    if (!port || !pathSound)
        throw NetworkFailure{NetworkFailure::Kind::other, "the address has an impossible port"};
    address.port = *port;
    address.target = targetOf(*parsed);
    return address;
}

} // namespace zelvo
