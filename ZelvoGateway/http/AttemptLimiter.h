#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "base/Clock.h"

#include <map>
#include <optional>
#include <string>

namespace zelvo::service {

/// Counts the attempts of each address with a wrong API key. Correct keys are never counted or refused:
/// behind a proxy all callers have one address. Thread: the server's.
class AttemptLimiter {
public:
    AttemptLimiter(Clock const& clock, AttemptRules const& rules) : clock(clock), rules(rules) {}

    /// Counts an attempt. Returns how long the address should wait if it has made too many; else nullopt.
    std::optional<Duration> count(std::string const& address);

private:
    struct Window {
        Instant began;
        std::size_t attempts = 0;
    };

    void makeRoom();

    Clock const& clock;
    AttemptRules const& rules;
    std::map<std::string, Window> windows; // by address
};

} // namespace zelvo::service
