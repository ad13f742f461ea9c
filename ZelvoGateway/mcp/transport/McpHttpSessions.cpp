#include "ZelvoGateway/mcp/transport/McpHttpSessions.h"

#include "ZelvoGateway/base/Secrets.h"

#include <utility>

namespace zelvo::service {

std::optional<std::string> McpHttpSessions::add(McpTarget target, std::shared_ptr<McpConnection> connection)
{
    forgetIdle();
    if (!makeRoom(target.caller.keyId))
        return std::nullopt;
    std::string id = newSecret();
    auto const session = std::make_shared<McpHttpSession>(
        McpHttpSession{.target = std::move(target), .connection = std::move(connection)});
    session->used = clock.now();
    sessions.emplace(id, session);
    return id;
}

std::shared_ptr<McpHttpSession> McpHttpSessions::find(std::string_view id, McpTarget const& target)
{
    forgetIdle();
    auto const known = sessions.find(id);
    if (known == sessions.end() || known->second->target != target)
        return nullptr;
    known->second->used = clock.now();
    return known->second;
}

void McpHttpSessions::end(std::string_view id)
{
    if (auto const known = sessions.find(id); known != sessions.end())
        end(known);
}

/// Returns the one that follows.
McpHttpSessions::Sessions::iterator McpHttpSessions::end(Sessions::iterator session)
{
    auto const ended = session->second;
    auto const following = sessions.erase(session);
    ended->connection->end();
    if (auto const listener = std::exchange(ended->listener, nullptr))
        listener->finish();
    return following;
}

/// Ends the session of a key that was unused for longest, if it has too many. False if all are in use.
bool McpHttpSessions::makeRoom(std::string const& key)
{
    std::size_t count = 0;
    auto oldest = sessions.end();
    for (auto each = sessions.begin(); each != sessions.end(); ++each) {
        if (each->second->target.caller.keyId != key)
            continue;
        ++count;
        bool const isOlder = oldest == sessions.end() || each->second->used < oldest->second->used;
        if (!each->second->isAttended() && isOlder)
            oldest = each;
    }
    if (count < rules.maxSessions)
        return true;
    if (oldest == sessions.end())
        return false;
    end(oldest);
    return true;
}

void McpHttpSessions::forgetIdle()
{
    Instant const now = clock.now();
    for (auto each = sessions.begin(); each != sessions.end();) {
        if (each->second->isAttended())
            each->second->used = now;
        bool const isIdle = now - each->second->used >= rules.sessionIdle;
        each = isIdle ? end(each) : std::next(each);
    }
}

void McpHttpSessions::endKey(std::string const& key)
{
    for (auto each = sessions.begin(); each != sessions.end();)
        each = each->second->target.caller.keyId == key ? end(each) : std::next(each);
}

void McpHttpSessions::endListeners()
{
    for (auto const& [id, session] : sessions)
        if (auto const listener = std::exchange(session->listener, nullptr))
            listener->finish();
}

void McpHttpSessions::endAll()
{
    while (!sessions.empty())
        end(sessions.begin());
}

} // namespace zelvo::service
