#pragma once

#include "ZelvoGateway/base/AddressRange.h"

#include <boost/asio/ip/address.hpp>

#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace zelvo::service {

struct ForwardedHop;

/// What proxies wrote into the head of a request: the values of each header, in their order.
struct ForwardedLines {
    std::vector<std::string_view> forwarded;      ///< "Forwarded"
    std::vector<std::string_view> forwardedFor;   ///< "X-Forwarded-For"
    std::vector<std::string_view> forwardedProto; ///< "X-Forwarded-Proto"
};

/// Who sent a request that came through proxies.
struct ForwardedCaller {
    boost::asio::ip::address address;
    std::optional<bool> isSecure; ///< whether the caller used TLS; nullopt if no proxy says
    bool operator==(ForwardedCaller const&) const = default;
};

/// A trusted proxy sent what makes no sense, or contradicts itself; what() is for the caller.
struct ForwardedError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The proxies whose word counts. Every caller can send the headers of proxies, so those of a request count
/// only if a trusted proxy sent it. From the last step of its way backwards, the first one that no trusted
/// proxy made is the caller's; what the caller itself wrote before that is not read.
/// Thread: any.
class TrustedProxies {
public:
    explicit TrustedProxies(std::vector<AddressRange> ranges) : ranges(std::move(ranges)) {}

    bool contains(boost::asio::ip::address const& address) const;
    /// proxy    a trusted one, that sent the request
    /// Throws   ForwardedError
    ForwardedCaller callerOf(boost::asio::ip::address const& proxy, ForwardedLines const& lines) const;

private:
    struct Found;
    Found followed(boost::asio::ip::address const& proxy, std::vector<ForwardedHop> const& hops) const;
    Found inForwarded(boost::asio::ip::address const& proxy,
                      std::vector<std::string_view> const& lines) const;
    Found inForwardedFor(boost::asio::ip::address const& proxy, ForwardedLines const& lines) const;

    std::vector<AddressRange> ranges;
};

} // namespace zelvo::service
