#pragma once

#include <boost/asio/ip/address.hpp>

#include <optional>
#include <string>

struct sockaddr;

namespace zelvo {

/// Whether an address is one of the public internet: not of this machine, of a local network, of a group, or
/// reserved. Addresses that carry an IPv4 address in them (mapped, translated, 6to4) count as that.
bool isPublicAddress(boost::asio::ip::address const& address);

/// Decides where a call may go whose URL a gateway chose. A URL of this machine or of its network would make
/// the agent knock at services that the gateway can't reach itself. What counts is the address that is
/// connected to, not the name, which may lead elsewhere at each look. Thread: any.
class ConnectionGuard {
public:
    /// gatewayAddress  from where the gateway answered, which is allowed, too; a loopback address allows
    ///                 everything. Empty if it answered through a proxy
    explicit ConnectionGuard(std::string const& gatewayAddress);

    bool allows(boost::asio::ip::address const& address) const;
    bool allows(sockaddr const& address) const;
    /// The host of a URL, for a call through a proxy, which looks names up by itself.
    bool allowsHost(std::string const& host) const;

private:
    std::optional<boost::asio::ip::address> gateway;
};

} // namespace zelvo
