#pragma once

#include <boost/asio/ip/address.hpp>

#include <optional>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// One step of a request on its way through proxies, as a proxy reports it.
struct ForwardedHop {
    /// Who sent the request to that proxy; nullopt if the proxy does not say.
    std::optional<boost::asio::ip::address> from;
    std::optional<bool> isSecure; ///< whether it came with TLS; nullopt if the proxy does not say
    bool operator==(ForwardedHop const&) const = default;
};

/// Reads the value of one "Forwarded" header (RFC 7239): the steps in order, the caller's first. nullopt if
/// it does not follow that standard anywhere.
std::optional<std::vector<ForwardedHop>> forwardedHopsIn(std::string_view value);

/// Reads one entry of an "X-Forwarded-For" header: an address, perhaps with a port, an IPv6 address perhaps
/// in brackets.
struct ForwardedAddress {
    bool isValid = false;
    std::optional<boost::asio::ip::address> address; ///< nullopt for "unknown"
};
ForwardedAddress forwardedAddressIn(std::string_view entry);

/// Reads one entry of an "X-Forwarded-Proto" header: whether it means TLS. nullopt if it is no protocol of
/// HTTP or WebSockets.
std::optional<bool> forwardedSecurityIn(std::string_view entry);

/// The entries of a list, without the white space around them.
std::vector<std::string_view> listEntriesIn(std::string_view value);

} // namespace zelvo::service
