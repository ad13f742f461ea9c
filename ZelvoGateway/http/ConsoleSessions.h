#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "base/Clock.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo::service {

/// The browsers that are logged in to the console. A session has a random secret, which is good for nothing
/// but the console, and belongs to the origin whose page began it. It ends when the person logs out, after a
/// time without a request, after a longer time in any case, and with the process: only hashes of the secrets
/// are kept, and only in memory.
/// Thread: the server's.
class ConsoleSessions {
public:
    ConsoleSessions(Clock const& clock, ConsoleTimes const& times) : clock(clock), times(times) {}

    /// Begins a session for the pages of an origin, and returns its secret. Beyond `maxSessions` the one that
    /// was unused for longest ends.
    std::string begin(std::string origin);
    /// The origin of a session, whose time without a request begins anew; nullopt if it has ended.
    std::optional<std::string> originOf(std::string_view secret);
    void end(std::string_view secret);
    void endAll() { sessions.clear(); }

private:
    struct Session {
        std::string origin;
        Instant began;
        Instant used;
    };

    void forgetEnded();

    Clock const& clock;
    ConsoleTimes const& times;
    std::map<std::string, Session, std::less<>> sessions; // by the hash of the secret
};

} // namespace zelvo::service
