#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/store/PageRows.h"
#include "ZelvoGateway/store/SpacedTexts.h"
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

constexpr std::string_view sessionColumns =
    "SELECT id, end_user_id, scopes, expires_at, machine_id, used, created_at, redirect_url, connection_id "
    "FROM link_sessions";

StoredLinkSession sessionOf(Statement const& row)
{
    StoredLinkSession session;
    session.id = row.text(0);
    session.endUserId = row.text(1);
    session.scopes = fromSpacedTexts<AgentScope>(row.text(2));
    session.expiresAt = dateOf(row.integer(3));
    session.machineId = row.optionalText(4);
    session.used = row.integer(5) != 0;
    session.createdAt = row.text(6);
    session.redirectUrl = row.optionalText(7);
    session.connectionId = row.optionalText(8);
    return session;
}

constexpr std::string_view endUserColumns = "SELECT id, external_id, email, name, created_at FROM end_users";

records::EndUser endUserOf(Statement const& row)
{
    return {.createdAt = row.text(4),
            .email = row.optionalText(2),
            .externalId = row.text(1),
            .id = row.text(0),
            .name = row.optionalText(3)};
}

} // namespace

void SqliteStore::addLinkColumns()
{
    if (!database.prepare("SELECT 1 FROM pragma_table_info('link_sessions') WHERE name = 'created_at'")
             .step())
        database.execute("ALTER TABLE link_sessions ADD COLUMN created_at TEXT NOT NULL DEFAULT '';"
                         "ALTER TABLE link_sessions ADD COLUMN redirect_url TEXT;"
                         "ALTER TABLE link_sessions ADD COLUMN connection_id TEXT");
}

StoredLinkSession SqliteStore::addLinkSession(StoredLinkSession session, std::string_view code)
{
    session.id = newId("lks");
    database
        .prepare("INSERT INTO link_sessions (id, code_hash, end_user_id, scopes, expires_at, created_at, "
                 "redirect_url) VALUES (?, ?, ?, ?, ?, ?, ?)")
        .bind(session.id)
        .bind(hashOf(code))
        .bind(session.endUserId)
        .bind(spacedTexts(session.scopes))
        .bind(secondsOf(session.expiresAt))
        .bind(session.createdAt)
        .bind(session.redirectUrl)
        .step();
    return session;
}

std::optional<StoredLinkSession> SqliteStore::linkSessionOfCode(std::string_view code)
{
    return firstOf(
        std::move(database.prepare(std::string(sessionColumns) + " WHERE code_hash = ?").bind(hashOf(code))),
        sessionOf);
}

std::optional<StoredLinkSession> SqliteStore::linkSession(std::string const& id)
{
    return firstOf(std::move(database.prepare(std::string(sessionColumns) + " WHERE id = ?").bind(id)),
                   sessionOf);
}

Page<StoredLinkSession> SqliteStore::linkSessionPage(PageQuery const& query)
{
    PageReach const reach{"end_user_id IN (SELECT value FROM json_each(?))",
                          {listText(query.reach.endUsers)}};
    return pageOf(database, sessionColumns, {{"end_user_id", query.endUserId}}, query, sessionOf, reach);
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
    database.prepare("UPDATE link_sessions SET used = 1, connection_id = ? WHERE id = ? AND used = 0")
        .bind(connection.id)
        .bind(sessionId)
        .step();
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
    Statement row = database.prepare(std::string(endUserColumns) + " WHERE external_id = ?");
    return firstOf(std::move(row.bind(request.externalId)), endUserOf).value();
}

Page<records::EndUser> SqliteStore::endUserPage(PageQuery const& query)
{
    PageReach const reach{"(id IN (SELECT value FROM json_each(?)) OR external_id IN (SELECT value FROM "
                          "json_each(?)))",
                          {listText(query.reach.endUsers), listText(query.reach.endUsers)}};
    return pageOf(database, endUserColumns, {{"external_id", query.externalId}}, query, endUserOf, reach);
}

std::optional<records::EndUser> SqliteStore::endUser(std::string const& id)
{
    return firstOf(std::move(database.prepare(std::string(endUserColumns) + " WHERE id = ?").bind(id)),
                   endUserOf);
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
