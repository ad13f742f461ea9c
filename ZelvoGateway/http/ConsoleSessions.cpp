#include "ZelvoGateway/http/ConsoleSessions.h"

#include "ZelvoGateway/base/Secrets.h"

#include <algorithm>

namespace zelvo::service {

std::string ConsoleSessions::begin(std::string origin)
{
    forgetEnded();
    if (sessions.size() >= times.maxSessions)
        sessions.erase(
            std::ranges::min_element(sessions, {}, [](auto const& entry) { return entry.second.used; }));
    std::string const secret = "zs_" + newSecret();
    Instant const now = clock.now();
    sessions[hashOf(secret)] = {.origin = std::move(origin), .began = now, .used = now};
    return secret;
}

std::optional<std::string> ConsoleSessions::originOf(std::string_view secret)
{
    forgetEnded();
    auto const entry = sessions.find(hashOf(secret));
    if (entry == sessions.end())
        return std::nullopt;
    entry->second.used = clock.now();
    return entry->second.origin;
}

void ConsoleSessions::end(std::string_view secret)
{
    sessions.erase(hashOf(secret));
}

void ConsoleSessions::forgetEnded()
{
    Instant const now = clock.now();
    std::erase_if(sessions, [&](auto const& entry) {
        return now - entry.second.used >= times.idle || now - entry.second.began >= times.longest;
    });
}

} // namespace zelvo::service
