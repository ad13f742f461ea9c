#pragma once

#include "ZelvoGateway/base/NamedUses.h"
#include "ZelvoGateway/base/RateLimiter.h"
#include "ZelvoGateway/base/Settings.h"

#include <boost/asio/ip/address.hpp>

#include <string>

namespace zelvo::service {

/// What one address and one API key may do, by the present settings. An address is that of a connection's
/// peer; behind a trusted proxy it is the caller's, and each request counts like a connection, since the
/// caller's connections end at the proxy. This computer's addresses are not limited. Thread: the server's.
class RequestLimits {
public:
    using Lease = NamedUses::Lease;

    RequestLimits(RateRules const& rules, Clock const& clock);

    /// Counts a connection, or a request behind a proxy, until the lease is dropped. Throws HttpError 429.
    Lease admit(boost::asio::ip::address const& address);
    /// Counts a request with an API key until the lease is dropped; nothing for the console, whose id is
    /// empty. Throws HttpError 429.
    Lease admitKey(std::string const& keyId);

private:
    RateRules const& rules;
    RateLimiter addressRates;
    RateLimiter keyRates;
    NamedUses addressUses;
    NamedUses keyUses;
};

} // namespace zelvo::service
