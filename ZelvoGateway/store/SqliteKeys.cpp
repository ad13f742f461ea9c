#include "ZelvoGateway/store/Rows.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "wire/Json.h"

namespace zelvo::service {

namespace {

constexpr char const* schema = R"sql(
CREATE TABLE IF NOT EXISTS api_keys (
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE, name TEXT NOT NULL,
    prefix TEXT NOT NULL, hash TEXT NOT NULL UNIQUE, reaches_all INTEGER NOT NULL, connections TEXT NOT NULL,
    end_users TEXT NOT NULL, created_at INTEGER NOT NULL, last_used_at INTEGER, revoked_at INTEGER) STRICT;
CREATE TABLE IF NOT EXISTS keys_of_commands (
    command_id TEXT PRIMARY KEY REFERENCES queued_commands(id) ON DELETE CASCADE, key_id TEXT NOT NULL) STRICT;
CREATE INDEX IF NOT EXISTS commands_of_key ON keys_of_commands(key_id);
)sql";

std::set<std::string, std::less<>> setIn(std::string const& text)
{
    std::set<std::string, std::less<>> set;
    if (auto const list = parseJson(text); list && list->is_array())
        for (json::value const& one : list->get_array())
            if (one.is_string())
                set.emplace(one.get_string());
    return set;
}

std::optional<Date> dateIn(Statement const& row, int column)
{
    return row.optionalText(column) ? std::optional(dateOfMilliseconds(row.integer(column))) : std::nullopt;
}

StoredKey keyOf(Statement const& row)
{
    return {.id = row.text(0),
            .name = row.text(1),
            .prefix = row.text(2),
            .hash = row.text(3),
            .reach = {.all = row.integer(4) != 0,
                      .connections = setIn(row.text(5)),
                      .endUsers = setIn(row.text(6))},
            .createdAt = dateOfMilliseconds(row.integer(7)),
            .lastUsedAt = dateIn(row, 8),
            .revokedAt = dateIn(row, 9)};
}

} // namespace

std::string listText(std::set<std::string, std::less<>> const& texts)
{
    return writeJson(json::array(texts.begin(), texts.end()));
}

void SqliteStore::createKeyTables()
{
    database.execute(schema);
}

void SqliteStore::saveKey(StoredKey const& key)
{
    database
        .prepare("INSERT INTO api_keys (id, name, prefix, hash, reaches_all, connections, end_users, "
                 "created_at) VALUES (?, ?, ?, ?, ?, ?, ?, ?) "
                 "ON CONFLICT (id) DO UPDATE SET prefix = excluded.prefix, hash = excluded.hash")
        .bind(key.id)
        .bind(key.name)
        .bind(key.prefix)
        .bind(key.hash)
        .bind(std::int64_t{key.reach.all})
        .bind(listText(key.reach.connections))
        .bind(listText(key.reach.endUsers))
        .bind(millisecondsOf(key.createdAt))
        .step();
}

std::vector<StoredKey> SqliteStore::keys()
{
    return allOf(database.prepare("SELECT id, name, prefix, hash, reaches_all, connections, end_users, "
                                  "created_at, last_used_at, revoked_at FROM api_keys ORDER BY sequence"),
                 keyOf);
}

bool SqliteStore::revokeKey(std::string const& id, Date now)
{
    Transaction transaction(database);
    database.prepare("UPDATE api_keys SET revoked_at = ? WHERE id = ? AND revoked_at IS NULL")
        .bind(millisecondsOf(now))
        .bind(id)
        .step();
    if (database.changes() == 0)
        return false;
    cancelCommandsOfKey(id, now);
    transaction.commit();
    return true;
}

void SqliteStore::cancelCommandsOfKey(std::string const& id, Date now)
{
    database
        .prepare("UPDATE queued_commands SET status = 'canceled', ended_at = ?, bytes = 0, frame = '' "
                 "WHERE status = 'queued' AND id IN (SELECT command_id FROM keys_of_commands WHERE key_id = "
                 "?)")
        .bind(millisecondsOf(now))
        .bind(id)
        .step();
}

void SqliteStore::setKeyUsed(std::string const& id, Date now)
{
    WithoutDiskWait const relaxed(database);
    database.prepare("UPDATE api_keys SET last_used_at = ? WHERE id = ?")
        .bind(millisecondsOf(now))
        .bind(id)
        .step();
}

void SqliteStore::forgetRevokedKeys(Date oldest)
{
    database.prepare("DELETE FROM api_keys WHERE revoked_at < ?").bind(millisecondsOf(oldest)).step();
}

std::int64_t SqliteStore::foreignChanges()
{
    if (ChangeMark const now = database.changeMark(); now != foreignMark) {
        Statement row = database.prepare("PRAGMA data_version");
        row.step();
        foreignVersion = row.integer(0);
        foreignMark = now;
    }
    return foreignVersion;
}

} // namespace zelvo::service
