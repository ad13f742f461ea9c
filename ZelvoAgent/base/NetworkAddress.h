#pragma once

#include <boost/asio/ip/address.hpp>

#include <optional>
#include <vector>

struct sockaddr;

namespace zelvo {

/// Whether an address is one of the public internet: not of this machine, of a local network, of a group, or
/// reserved. Addresses that carry an IPv4 address in them (mapped, translated, 6to4) count as that.
bool isPublicAddress(boost::asio::ip::address const& address);

/// A network that one of this machine's interfaces is in.
struct OwnNetwork {
    boost::asio::ip::address address; ///< the interface's own, or that of its peer
    int prefix = 0;                   ///< bits that all addresses of the network share

    bool contains(boost::asio::ip::address const& other) const;
};

/// The networks of the present moment; nullopt if the system doesn't say.
std::optional<std::vector<OwnNetwork>> ownNetworks();

/// Whether an address is in one of these networks, which may have public addresses; true if they are not
/// known.
bool isNear(boost::asio::ip::address const& address, std::optional<std::vector<OwnNetwork>> const& networks);

/// The address of a socket; nullopt if it is none of the internet.
std::optional<boost::asio::ip::address> addressOf(sockaddr const& raw);
/// An IPv4 address for an IPv6 address that is mapped to one; any other unchanged.
boost::asio::ip::address unmapped(boost::asio::ip::address const& address);

} // namespace zelvo
