#pragma once

#include "base/Clock.h"

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>

namespace zelvo::service {

/// Bounds how often each of many names does something: on average so often in a period, in a burst as often
/// at once. Keeps one time for each name. While it can't keep more names, new ones are not bounded: a crowd
/// of strangers locks nobody out. Thread: the server's.
class RateLimiter {
public:
    /// maxNames   that are kept at one time
    RateLimiter(Clock const& clock, std::size_t maxNames) : clock(clock), maxNames(maxNames) {}

    /// Counts `amount`. Returns how long the name should wait, if that was too much; nothing is counted then.
    /// max   in `period`; 0 for no limit
    std::optional<Duration>
    take(std::string const& name, std::size_t max, Duration period, std::size_t amount = 1);
    std::size_t names() const { return freeAt.size(); }

private:
    bool hasRoom(Instant now);

    Clock const& clock;
    std::size_t maxNames;
    std::unordered_map<std::string, Instant> freeAt; // When the burst of each name is whole again.
    Instant sweepAt{};                               // The next look for names that are.
};

} // namespace zelvo::service
