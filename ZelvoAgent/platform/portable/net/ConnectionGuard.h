#pragma once

#include "base/NetworkAddress.h"

#include <boost/asio/ip/address.hpp>

#include <optional>
#include <string>
#include <vector>

struct sockaddr;

namespace zelvo {

/// Decides where a call may go whose URL a gateway chose. A URL of this machine or of its network would make
/// the agent knock at services that the gateway can't reach itself. What counts is the address that is
/// connected to, not the name, which may lead elsewhere at each look. Thread: any.
class ConnectionGuard {
public:
    using Networks = std::optional<std::vector<OwnNetwork>> (*)();

    /// gatewayAddress  from where the gateway answered, which is allowed, too; a loopback address allows
    ///                 everything. Its host name if it answered through a proxy
    explicit ConnectionGuard(std::string const& gatewayAddress, Networks networks = &ownNetworks);

    bool allows(boost::asio::ip::address const& address) const;
    bool allows(sockaddr const& address) const;
    /// The host of a URL, for a call through a proxy. Only the gateway's own is allowed: the proxy looks
    /// names up by itself, and any name may lead to this machine.
    bool allowsHost(std::string const& host) const;

private:
    std::optional<boost::asio::ip::address> gateway;
    std::string gatewayHost;
    Networks networks;
};

} // namespace zelvo
