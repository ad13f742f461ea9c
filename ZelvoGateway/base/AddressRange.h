#pragma once

#include <boost/asio/ip/address.hpp>

#include <optional>
#include <string_view>

namespace zelvo::service {

/// The addresses that share their first bits: "10.0.0.0/8", "fd00::/8", or a single one. An IPv4 address that
/// is written as an IPv6 address counts as IPv4.
struct AddressRange {
    boost::asio::ip::address first;
    int prefix = 0; ///< bits

    bool contains(boost::asio::ip::address const& address) const;
    bool operator==(AddressRange const&) const = default;
};

/// nullopt if the text is no range.
std::optional<AddressRange> addressRangeIn(std::string_view text);

} // namespace zelvo::service
