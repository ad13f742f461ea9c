#include "platform/portable/net/ConnectionGuard.h"

#include "base/Text.h"

#include <boost/asio/ip/network_v4.hpp>
#include <boost/asio/ip/network_v6.hpp>

#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string_view>

namespace zelvo {

namespace {

namespace ip = boost::asio::ip;

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

/// A mapped address is the IPv4 address.
ip::address plain(ip::address const& address)
{
    if (address.is_v6() && address.to_v6().is_v4_mapped())
        return ip::make_address_v4(ip::v4_mapped, address.to_v6());
    return address;
}

/// Whether one of this machine's interfaces has the address: it may be a public one.
bool isOfThisMachine(ip::address const& address)
{
    ifaddrs* raw = nullptr;
    if (::getifaddrs(&raw) != 0)
        return true;
    std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> const all(raw, &::freeifaddrs);
    for (ifaddrs const* each = raw; each; each = each->ifa_next)
        if (each->ifa_addr && addressOf(*each->ifa_addr) == address)
            return true;
    return false;
}

} // namespace

bool isPublicAddress(ip::address const& address)
{
    return address.is_v4() ? isPublic(address.to_v4()) : isPublic(address.to_v6());
}

ConnectionGuard::ConnectionGuard(std::string const& gatewayAddress)
{
    boost::system::error_code error;
    ip::address const address = ip::make_address(gatewayAddress, error);
    if (!error)
        gateway = plain(address);
}

bool ConnectionGuard::allows(ip::address const& address) const
{
    ip::address const wanted = plain(address);
    if (gateway && (gateway->is_loopback() || *gateway == wanted))
        return true;
    return isPublicAddress(wanted) && !isOfThisMachine(wanted);
}

bool ConnectionGuard::allows(sockaddr const& address) const
{
    auto const known = addressOf(address);
    return known && allows(*known);
}

bool ConnectionGuard::allowsHost(std::string const& host) const
{
    std::string name = text::lowercased(host);
    while (name.ends_with('.'))
        name.pop_back();
    if (name.starts_with('[') && name.ends_with(']'))
        name = name.substr(1, name.size() - 2);
    boost::system::error_code error;
    ip::address const address = ip::make_address(name, error);
    if (!error)
        return allows(address);
    return !name.empty() && name != "localhost" && !name.ends_with(".localhost");
}

} // namespace zelvo
