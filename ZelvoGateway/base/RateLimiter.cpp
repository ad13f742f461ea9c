#include "ZelvoGateway/base/RateLimiter.h"

#include <algorithm>

namespace zelvo::service {

namespace {

constexpr Duration sweepPeriod = 1s; // A sweep looks at every name.

} // namespace

std::optional<Duration>
RateLimiter::take(std::string const& name, std::size_t max, Duration period, std::size_t amount)
{
    if (max == 0)
        return std::nullopt;
    Instant const now = clock.now();
    auto found = freeAt.find(name);
    if (found == freeAt.end()) {
        if (!hasRoom(now))
            return std::nullopt;
        found = freeAt.emplace(name, now).first;
    }
    Instant const next = std::max(found->second, now) +
                         period * static_cast<Duration::rep>(amount) / static_cast<Duration::rep>(max);
    if (next - now > period)
        return next - now - period;
    found->second = next;
    return std::nullopt;
}

bool RateLimiter::hasRoom(Instant now)
{
    if (freeAt.size() < maxNames)
        return true;
    if (now < sweepAt)
        return false;
    sweepAt = now + sweepPeriod;
    std::erase_if(freeAt, [now](auto const& entry) { return entry.second <= now; });
    return freeAt.size() < maxNames;
}

} // namespace zelvo::service
