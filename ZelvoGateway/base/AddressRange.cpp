#include "ZelvoGateway/base/AddressRange.h"

#include "base/NetworkAddress.h"

#include <boost/asio/ip/network_v4.hpp>
#include <boost/asio/ip/network_v6.hpp>

#include <charconv>
#include <string>

namespace zelvo::service {

namespace {

namespace ip = boost::asio::ip;

constexpr int mappedBits = 96; // Before an IPv4 address in an IPv6 address.

std::optional<int> bitsIn(std::string_view text, int max)
{
    int bits = 0;
    auto const read = std::from_chars(text.data(), text.data() + text.size(), bits);
    bool const isNumber = read.ec == std::errc() && read.ptr == text.data() + text.size();
    return isNumber && bits >= 0 && bits <= max ? std::optional(bits) : std::nullopt;
}

} // namespace

bool AddressRange::contains(ip::address const& address) const
{
    ip::address const other = unmapped(address);
    if (first.is_v4() && other.is_v4())
        return ip::network_v4(first.to_v4(), static_cast<unsigned short>(prefix)).canonical() ==
               ip::network_v4(other.to_v4(), static_cast<unsigned short>(prefix)).canonical();
    if (first.is_v6() && other.is_v6()) {
        ip::address_v6 const plain(other.to_v6().to_bytes()); // Without the interface it was seen on.
        return ip::network_v6(first.to_v6(), static_cast<unsigned short>(prefix)).canonical() ==
               ip::network_v6(plain, static_cast<unsigned short>(prefix)).canonical();
    }
    return false;
}

std::optional<AddressRange> addressRangeIn(std::string_view text)
{
    std::size_t const slash = text.find('/');
    boost::system::error_code error;
    ip::address const written = ip::make_address(std::string(text.substr(0, slash)), error);
    if (error || (written.is_v6() && written.to_v6().scope_id() != 0))
        return std::nullopt;
    int const all = written.is_v4() ? 32 : 128;
    auto bits = slash == std::string_view::npos ? all : bitsIn(text.substr(slash + 1), all);
    ip::address const first = unmapped(written);
    if (bits && first.is_v4() && written.is_v6())
        bits = *bits >= mappedBits ? std::optional(*bits - mappedBits) : std::nullopt;
    if (!bits)
        return std::nullopt;
    return AddressRange{.first = first, .prefix = *bits};
}

} // namespace zelvo::service
