#include "ZelvoGateway/http/RequestLimits.h"

#include "ZelvoGateway/http/HttpError.h"

namespace zelvo::service {

namespace {

HttpError tooMany(std::string message, Refusal limit, Duration retryAfter = {})
{
    return {.status = 429,
            .code = ErrorCode::rateLimited,
            .message = std::move(message),
            .retryAfter = retryAfter,
            .limit = limit};
}

} // namespace

RequestLimits::RequestLimits(RateRules const& rules, Clock const& clock)
    : rules(rules), addressRates(clock, rules.maxNames), keyRates(clock, rules.maxNames)
{
}

RequestLimits::Lease RequestLimits::admit(boost::asio::ip::address const& address)
{
    if (address.is_loopback())
        return nullptr;
    std::string const name = address.to_string();
    if (auto const wait = addressRates.take(name, rules.addressConnections, 1min))
        throw tooMany("Too many connections came from this address", Refusal::addressRate, *wait);
    Lease lease = addressUses.take(name, rules.addressConnectionsAtOnce);
    if (!lease)
        throw tooMany("This address has too many open connections", Refusal::addressConnections);
    return lease;
}

RequestLimits::Lease RequestLimits::admitKey(std::string const& keyId)
{
    if (keyId.empty())
        return nullptr;
    if (auto const wait = keyRates.take(keyId, rules.keyRequests, 1s))
        throw tooMany("This API key sends too many requests", Refusal::keyRate, *wait);
    Lease lease = keyUses.take(keyId, rules.keyRequestsAtOnce);
    if (!lease)
        throw tooMany("This API key has too many open requests", Refusal::keyRequests);
    return lease;
}

} // namespace zelvo::service
