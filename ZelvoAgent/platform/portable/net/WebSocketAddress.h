#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zelvo {

/// The parts of a WebSocket URL.
struct WebSocketAddress {
    bool secure = false;
    std::string host; ///< a name or an IP address, an IPv6 one without brackets
    std::uint16_t port = 0;
    std::string target; ///< path and query, never empty
    bool operator==(WebSocketAddress const&) const = default;

    /// `host` in the form used before a port: an IPv6 address in brackets.
    std::string bracketedHost() const;
    /// "host:port", as in a CONNECT request.
    std::string authority() const;
    /// The Host header: without the port if it is the scheme's default.
    std::string hostHeader() const;
};

/// Throws NetworkFailure, without the URL in its text, if it is not a ws or wss URL with a host.
WebSocketAddress parseWebSocketAddress(std::string_view url);

} // namespace zelvo
