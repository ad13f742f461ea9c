#pragma once

#include "ZelvoGateway/http/HttpMessage.h"
#include "ZelvoGateway/net/TrustedProxies.h"

#include <boost/asio/ip/tcp.hpp>

#include <string>

namespace zelvo::service {

/// Who is at the other end of a connection, an IPv4 address never as an IPv6 address.
boost::asio::ip::address peerAddressOf(boost::asio::ip::tcp::socket const& socket);
/// The address that the other end reached, without port, an IPv4 address never as an IPv6 address.
std::string localAddressOf(boost::asio::ip::tcp::socket const& socket);

/// Who sends a request that a trusted proxy passes on. Throws HttpError, 400, if the proxy sends nonsense.
ForwardedCaller
callerBehind(boost::asio::ip::address const& proxy, HttpRequest const& head, TrustedProxies const& proxies);

} // namespace zelvo::service
