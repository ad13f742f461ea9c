#include "base/NetworkAddress.h"

#include <boost/asio/ip/network_v4.hpp>
#include <boost/asio/ip/network_v6.hpp>

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>

namespace zelvo {

namespace ip = boost::asio::ip;

namespace {

/// Networks that are not of the public internet (IANA's registries of special addresses).
constexpr std::array<char const*, 14> closedV4 = {
    "0.0.0.0/8",     "10.0.0.0/8",      "100.64.0.0/10",  "127.0.0.0/8",    "169.254.0.0/16",
    "172.16.0.0/12", "192.0.0.0/24",    "192.0.2.0/24",   "192.88.99.0/24", "192.168.0.0/16",
    "198.18.0.0/15", "198.51.100.0/24", "203.0.113.0/24", "224.0.0.0/3"};

bool isPublic(ip::address_v4 const& address)
{
    return std::ranges::none_of(closedV4, [&](char const* text) {
        ip::network_v4 const network = ip::make_network_v4(text);
        return ip::make_network_v4(address, network.prefix_length()).canonical() == network;
    });
}

bool isIn(ip::address_v6 const& address, char const* text)
{
    ip::network_v6 const network = ip::make_network_v6(text);
    return ip::make_network_v6(address, network.prefix_length()).canonical() == network;
}

ip::address_v4 partOf(ip::address_v6::bytes_type const& bytes, std::size_t at)
{
    return ip::address_v4({bytes[at], bytes[at + 1], bytes[at + 2], bytes[at + 3]});
}

/// The IPv4 address that packets to this address end at; nullopt if there is none.
std::optional<ip::address_v4> innerV4(ip::address_v6 const& address)
{
    auto const bytes = address.to_bytes();
    if (isIn(address, "::/96") || isIn(address, "::ffff:0:0/96") || isIn(address, "64:ff9b::/96") ||
        isIn(address, "::ffff:0:0:0/96"))
        return partOf(bytes, 12);
    if (isIn(address, "2002::/16"))
        return partOf(bytes, 2);
    return std::nullopt;
}

bool isPublic(ip::address_v6 const& address)
{
    if (auto const inner = innerV4(address))
        return isPublic(*inner);
    return isIn(address, "2000::/3") && !isIn(address, "2001::/23") && !isIn(address, "2001:db8::/32") &&
           !isIn(address, "3fff::/20");
}

std::vector<unsigned char> bytesOf(ip::address const& address)
{
    if (address.is_v4()) {
        auto const bytes = address.to_v4().to_bytes();
        return {bytes.begin(), bytes.end()};
    }
    auto const bytes = address.to_v6().to_bytes();
    return {bytes.begin(), bytes.end()};
}

int prefixOf(ip::address const& mask)
{
    int bits = 0;
    for (unsigned char const byte : bytesOf(mask))
        bits += std::popcount(byte);
    return bits;
}

} // namespace

std::optional<ip::address> addressOf(sockaddr const& raw)
{
    if (raw.sa_family == AF_INET) {
        sockaddr_in from{};
        std::memcpy(&from, &raw, sizeof from);
        return ip::address_v4(ntohl(from.sin_addr.s_addr));
    }
    if (raw.sa_family == AF_INET6) {
        sockaddr_in6 from{};
        std::memcpy(&from, &raw, sizeof from);
        ip::address_v6::bytes_type bytes{};
        std::memcpy(bytes.data(), &from.sin6_addr, bytes.size());
        return ip::address_v6(bytes);
    }
    return std::nullopt;
}

ip::address unmapped(ip::address const& address)
{
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        return ip::make_address_v4(ip::v4_mapped, address.to_v6());
    return address;
}

bool isPublicAddress(ip::address const& address)
{
    return address.is_v4() ? isPublic(address.to_v4()) : isPublic(address.to_v6());
}

bool OwnNetwork::contains(ip::address const& other) const
{
    if (address == other)
        return true;
    if (prefix == 0 || address.is_v4() != other.is_v4())
        return false;
    std::vector<unsigned char> const ours = bytesOf(address);
    std::vector<unsigned char> const theirs = bytesOf(other);
    for (int bit = 0; bit < prefix; ++bit) {
        auto const at = static_cast<std::size_t>(bit / 8);
        if (((ours[at] ^ theirs[at]) & (0x80U >> (bit % 8))) != 0)
            return false;
    }
    return true;
}

std::optional<std::vector<OwnNetwork>> ownNetworks()
{
    ifaddrs* raw = nullptr;
    if (::getifaddrs(&raw) != 0)
        return std::nullopt;
    std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> const all(raw, &::freeifaddrs);
    std::vector<OwnNetwork> networks;
    for (ifaddrs const* each = raw; each; each = each->ifa_next) {
        auto const address = each->ifa_addr ? addressOf(*each->ifa_addr) : std::nullopt;
        if (!address)
            continue;
        auto const mask = each->ifa_netmask ? addressOf(*each->ifa_netmask) : std::nullopt;
        networks.push_back({.address = *address, .prefix = mask ? prefixOf(*mask) : 0});
        bool const hasPeer = (each->ifa_flags & IFF_POINTOPOINT) != 0 && each->ifa_dstaddr;
        if (auto const peer = hasPeer ? addressOf(*each->ifa_dstaddr) : std::nullopt)
            networks.push_back({.address = *peer});
    }
    return networks;
}

bool isNear(ip::address const& address, std::optional<std::vector<OwnNetwork>> const& networks)
{
    auto const inner = address.is_v6() ? innerV4(address.to_v6()) : std::nullopt;
    return !networks || std::ranges::any_of(*networks, [&](OwnNetwork const& network) {
        return network.contains(address) || (inner && network.contains(*inner));
    });
}

} // namespace zelvo
