#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "base/DateText.h"

namespace zelvo::service {

namespace {

std::int64_t secondsOf(Date date)
{
    return std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
}

Date dateOf(std::int64_t seconds)
{
    return Date(std::chrono::seconds(seconds));
}

} // namespace

StoredLinkSession SqliteStore::addLinkSession(std::string const& endUserId,
                                              std::vector<AgentScope> const& scopes,
                                              std::string_view code,
                                              Date expiresAt)
{
    StoredLinkSession session{
        .id = newId("lks"), .endUserId = endUserId, .scopes = scopes, .expiresAt = expiresAt};
    database
        .prepare("INSERT INTO link_sessions (id, code_hash, end_user_id, scopes, expires_at) VALUES (?, ?, "
                 "?, ?, ?)")
        .bind(session.id)
        .bind(hashOf(code))
        .bind(session.endUserId)
        .bind(scopesText(session.scopes))
        .bind(secondsOf(expiresAt))
        .step();
    return session;
}

std::optional<StoredLinkSession> SqliteStore::linkSessionOfCode(std::string_view code)
{
    Statement row =
        database.prepare("SELECT id, end_user_id, scopes, expires_at, machine_id, used FROM link_sessions "
                         "WHERE code_hash = ?");
    row.bind(hashOf(code));
    if (!row.step())
        return std::nullopt;
    StoredLinkSession session;
    session.id = row.text(0);
    session.endUserId = row.text(1);
    session.scopes = scopesFrom(row.text(2));
    session.expiresAt = dateOf(row.integer(3));
    session.machineId = row.optionalText(4);
    session.used = row.integer(5) != 0;
    return session;
}

void SqliteStore::setResolvedMachine(std::string const& sessionId, std::string const& machineId)
{
    database.prepare("UPDATE link_sessions SET machine_id = ? WHERE id = ?")
        .bind(machineId)
        .bind(sessionId)
        .step();
}

bool SqliteStore::finishLinkSession(std::string const& sessionId, StoredConnection const& connection)
{
    Transaction transaction(database);
    database.prepare("UPDATE link_sessions SET used = 1 WHERE id = ? AND used = 0").bind(sessionId).step();
    if (database.changes() == 0)
        return false;
    addConnection(connection);
    transaction.commit();
    return true;
}

records::EndUser SqliteStore::addEndUser(records::CreateEndUserRequest const& request, Date now)
{
    database
        .prepare("INSERT INTO end_users (id, external_id, email, name, created_at) VALUES (?, ?, ?, ?, ?) "
                 "ON CONFLICT (external_id) DO UPDATE SET email = excluded.email, name = excluded.name")
        .bind(newId("usr"))
        .bind(request.externalId)
        .bind(request.email)
        .bind(request.name)
        .bind(dates::iso8601(now))
        .step();
    Statement row = database.prepare("SELECT id, created_at FROM end_users WHERE external_id = ?");
    row.bind(request.externalId).step();
    return {.createdAt = row.text(1),
            .email = request.email,
            .externalId = request.externalId,
            .id = row.text(0),
            .name = request.name};
}

void SqliteStore::addConsoleCode(std::string_view code, Date expiresAt)
{
    database.prepare("INSERT INTO console_codes (code_hash, expires_at) VALUES (?, ?)")
        .bind(hashOf(code))
        .bind(secondsOf(expiresAt))
        .step();
}

bool SqliteStore::takeConsoleCode(std::string_view code, Date now)
{
    database.prepare("DELETE FROM console_codes WHERE code_hash = ? AND expires_at > ?")
        .bind(hashOf(code))
        .bind(secondsOf(now))
        .step();
    return database.changes() > 0;
}

void SqliteStore::forgetExpired(Date now)
{
    std::int64_t const dayAgo = secondsOf(now - std::chrono::hours(24));
    database.prepare("DELETE FROM console_codes WHERE expires_at < ?").bind(dayAgo).step();
    database.prepare("DELETE FROM link_sessions WHERE expires_at < ?").bind(dayAgo).step();
}

} // namespace zelvo::service
