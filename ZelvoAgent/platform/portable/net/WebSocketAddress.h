#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zelvo {

/// Where a WebSocket leads, read from its URL.
struct WebSocketAddress {
    bool secure = false;
    std::string host; ///< a name or an IP address, an IPv6 one without brackets
    std::uint16_t port = 0;
    std::string target; ///< path and query, never empty
    bool operator==(WebSocketAddress const&) const = default;

    /// `host` as it stands in front of a port: an IPv6 address in brackets.
    std::string bracketedHost() const;
    /// "host:port", the form of a proxy's CONNECT.
    std::string authority() const;
    /// The Host header: the port is left out when it is the scheme's own.
    std::string hostHeader() const;
};

/// Throws NetworkFailure, without the URL in its text, when it is no ws or wss URL with a host.
WebSocketAddress parseWebSocketAddress(std::string_view url);

} // namespace zelvo
