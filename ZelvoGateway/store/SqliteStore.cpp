#include "ZelvoGateway/store/SqliteStore.h"

#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/store/PageRows.h"
#include "ZelvoGateway/store/Rows.h"
#include "ZelvoGateway/store/SpacedTexts.h"
#include "ZelvoGateway/store/StoreVersion.h"
#include "base/DateText.h"

namespace zelvo::service {

namespace {

constexpr char const* schema = R"sql(
CREATE TABLE IF NOT EXISTS machines (
    id TEXT PRIMARY KEY, token_hash TEXT NOT NULL UNIQUE, kind TEXT NOT NULL, created_at TEXT NOT NULL,
    heartbeat TEXT, paused INTEGER NOT NULL DEFAULT 0, last_seen_at TEXT) STRICT;
CREATE TABLE IF NOT EXISTS connections (
    id TEXT PRIMARY KEY, machine_id TEXT NOT NULL REFERENCES machines(id) ON DELETE CASCADE,
    end_user_id TEXT NOT NULL, kind TEXT NOT NULL, scopes TEXT NOT NULL, platform_name TEXT NOT NULL,
    created_at TEXT NOT NULL, revoked_at TEXT, revocation_told INTEGER NOT NULL DEFAULT 0) STRICT;
CREATE INDEX IF NOT EXISTS connections_of_machine ON connections(machine_id);
CREATE TABLE IF NOT EXISTS link_sessions (
    id TEXT PRIMARY KEY, code_hash TEXT NOT NULL UNIQUE, end_user_id TEXT NOT NULL, scopes TEXT NOT NULL,
    expires_at INTEGER NOT NULL, machine_id TEXT REFERENCES machines(id) ON DELETE SET NULL,
    used INTEGER NOT NULL DEFAULT 0) STRICT;
CREATE TABLE IF NOT EXISTS end_users (
    id TEXT PRIMARY KEY, external_id TEXT NOT NULL UNIQUE, email TEXT, name TEXT, created_at TEXT NOT NULL) STRICT;
CREATE TABLE IF NOT EXISTS console_codes (code_hash TEXT PRIMARY KEY, expires_at INTEGER NOT NULL) STRICT;
CREATE TABLE IF NOT EXISTS queued_commands (
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE,
    connection_id TEXT NOT NULL REFERENCES connections(id) ON DELETE CASCADE, method TEXT NOT NULL,
    summary TEXT NOT NULL, frame TEXT NOT NULL, status TEXT NOT NULL, expires_at INTEGER NOT NULL,
    bytes INTEGER NOT NULL, ended_at INTEGER, result TEXT, error TEXT) STRICT;
CREATE INDEX IF NOT EXISTS queued_commands_of_connection ON queued_commands(connection_id, status);
CREATE INDEX IF NOT EXISTS queued_commands_by_status ON queued_commands(status, expires_at);
CREATE TABLE IF NOT EXISTS paused_agents (
    machine_id TEXT NOT NULL REFERENCES machines(id) ON DELETE CASCADE, ref TEXT NOT NULL,
    connection_id TEXT NOT NULL REFERENCES connections(id) ON DELETE CASCADE, name TEXT NOT NULL, task TEXT,
    since INTEGER NOT NULL, PRIMARY KEY (machine_id, ref)) STRICT;
CREATE TABLE IF NOT EXISTS shared_recordings (
    connection_id TEXT PRIMARY KEY REFERENCES connections(id) ON DELETE CASCADE) STRICT;
CREATE TABLE IF NOT EXISTS recordings (
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE,
    connection_id TEXT NOT NULL REFERENCES connections(id) ON DELETE CASCADE, stage TEXT NOT NULL,
    size_bytes INTEGER NOT NULL, duration_sec REAL NOT NULL, created_at INTEGER NOT NULL,
    deletes_at INTEGER NOT NULL, upload_until INTEGER NOT NULL, upload_hash TEXT NOT NULL UNIQUE,
    changed_at INTEGER NOT NULL DEFAULT 0) STRICT;
CREATE INDEX IF NOT EXISTS recordings_of_connection ON recordings(connection_id, stage);
CREATE INDEX IF NOT EXISTS recordings_by_stage ON recordings(stage, deletes_at);
CREATE TABLE IF NOT EXISTS reserved_numbers (only_row INTEGER PRIMARY KEY CHECK (only_row = 1), next INTEGER NOT NULL) STRICT;
)sql";

constexpr std::string_view machineColumns =
    "SELECT id, kind, created_at, heartbeat, paused, last_seen_at FROM machines ";
constexpr std::string_view connectionColumns = "SELECT id, machine_id, end_user_id, kind, scopes, "
                                               "platform_name, created_at, revoked_at FROM connections ";

AgentMode kindFrom(std::string const& text)
{
    return fromRawValue<AgentMode>(text).value_or(AgentMode::connected);
}

StoredMachine machineOf(Statement const& row)
{
    StoredMachine machine;
    machine.id = row.text(0);
    machine.kind = kindFrom(row.text(1));
    machine.createdAt = row.text(2);
    if (auto const heartbeat = row.optionalText(3))
        machine.heartbeat = records::fromText<records::Heartbeat>(*heartbeat);
    machine.paused = row.integer(4) != 0;
    machine.lastSeenAt = row.optionalText(5);
    return machine;
}

StoredConnection connectionOf(Statement const& row)
{
    StoredConnection connection;
    connection.id = row.text(0);
    connection.machineId = row.text(1);
    connection.endUserId = row.text(2);
    connection.kind = kindFrom(row.text(3));
    connection.scopes = fromSpacedTexts<AgentScope>(row.text(4));
    connection.platformName = row.text(5);
    connection.createdAt = row.text(6);
    connection.revokedAt = row.optionalText(7);
    return connection;
}

/// What is kept under an id, or else what `read` gives, which is then kept. kept: may be null
template <class Value, class Read>
std::optional<Value> keptOr(std::map<std::string, Value>* kept, std::string const& id, Read const& read)
{
    if (!kept)
        return read();
    if (auto const found = kept->find(id); found != kept->end())
        return found->second;
    std::optional<Value> value = read();
    if (value && kept->size() < SqliteStore::maxKnown)
        kept->emplace(id, *value);
    return value;
}

} // namespace

SqliteStore::SqliteStore(std::filesystem::path const& file) : database(file)
{
    StoreVersion(database, file).bringUpToDate([this](std::int64_t version) {
        if (version == 0)
            createTables();
    });
}

/// Also for stores of before there were versions, which lack some of it.
void SqliteStore::createTables()
{
    database.execute(schema);
    addLinkColumns();
    dropTriggers(); // Theirs may be older ones.
    addWebhookTables();
    createKeyTables();
    createAuditTable();
    createAnswerTable();
}

void SqliteStore::dropTriggers()
{
    auto const triggers = allOf(database.prepare("SELECT name FROM sqlite_master WHERE type = 'trigger'"),
                                [](Statement const& row) { return row.text(0); });
    for (std::string const& trigger : triggers)
        database.execute("DROP TRIGGER " + trigger);
}

MachineWithToken SqliteStore::addMachine(AgentMode kind, Date now)
{
    MachineWithToken const made{newId("mch"), newSecret()};
    database.prepare("INSERT INTO machines (id, token_hash, kind, created_at) VALUES (?, ?, ?, ?)")
        .bind(made.machineId)
        .bind(hashOf(made.token))
        .bind(rawValue(kind))
        .bind(dates::iso8601(now))
        .step();
    return made;
}

std::string SqliteStore::replaceToken(std::string const& machineId)
{
    std::string token = newSecret();
    database.prepare("UPDATE machines SET token_hash = ? WHERE id = ?")
        .bind(hashOf(token))
        .bind(machineId)
        .step();
    return token;
}

std::optional<StoredMachine> SqliteStore::machineOfToken(std::string_view token)
{
    return firstOf(
        std::move(database.prepare(std::string(machineColumns) + "WHERE token_hash = ?").bind(hashOf(token))),
        machineOf);
}

std::optional<StoredMachine> SqliteStore::machine(std::string const& id)
{
    Known* const current = currentKnown();
    return keptOr(current ? &current->machines : nullptr, id, [&] {
        return firstOf(std::move(database.prepare(std::string(machineColumns) + "WHERE id = ?").bind(id)),
                       machineOf);
    });
}

std::vector<StoredMachine> SqliteStore::machines()
{
    return allOf(database.prepare(std::string(machineColumns) + "ORDER BY created_at, id"), machineOf);
}

bool SqliteStore::removeMachine(std::string const& id)
{
    database.prepare("DELETE FROM machines WHERE id = ?").bind(id).step();
    return database.changes() > 0;
}

void SqliteStore::saveHeartbeat(std::string const& id, records::Heartbeat const& heartbeat, Date now)
{
    WithoutDiskWait const relaxed(database);
    database.prepare("UPDATE machines SET heartbeat = ?, paused = ?, last_seen_at = ? WHERE id = ?")
        .bind(writeJson(records::toJson(heartbeat)))
        .bind(std::int64_t{heartbeat.paused})
        .bind(dates::iso8601(now))
        .bind(id)
        .step();
}

void SqliteStore::setPaused(std::string const& id, bool paused, Date now)
{
    WithoutDiskWait const relaxed(database);
    database.prepare("UPDATE machines SET paused = ?, last_seen_at = ? WHERE id = ?")
        .bind(std::int64_t{paused})
        .bind(dates::iso8601(now))
        .bind(id)
        .step();
}

void SqliteStore::setSeen(std::string const& id, Date now)
{
    WithoutDiskWait const relaxed(database);
    database.prepare("UPDATE machines SET last_seen_at = ? WHERE id = ?")
        .bind(dates::iso8601(now))
        .bind(id)
        .step();
}

void SqliteStore::addConnection(StoredConnection const& connection)
{
    database
        .prepare(
            "INSERT INTO connections (id, machine_id, end_user_id, kind, scopes, platform_name, created_at, "
            "revoked_at) VALUES (?, ?, ?, ?, ?, ?, ?, ?)")
        .bind(connection.id)
        .bind(connection.machineId)
        .bind(connection.endUserId)
        .bind(rawValue(connection.kind))
        .bind(spacedTexts(connection.scopes))
        .bind(connection.platformName)
        .bind(connection.createdAt)
        .bind(connection.revokedAt)
        .step();
}

std::optional<StoredConnection> SqliteStore::connection(std::string const& id)
{
    Known* const current = currentKnown();
    return keptOr(current ? &current->connections : nullptr, id, [&] {
        return firstOf(std::move(database.prepare(std::string(connectionColumns) + "WHERE id = ?").bind(id)),
                       connectionOf);
    });
}

SqliteStore::Known* SqliteStore::currentKnown()
{
    if (database.isInTransaction())
        return nullptr;
    if (ChangeMark const now = database.changeMark(); now != knownState.mark)
        knownState = {.mark = now, .connections = {}, .machines = {}};
    return &knownState;
}

std::vector<StoredConnection> SqliteStore::connectionsOf(std::string const& machineId)
{
    return allOf(
        std::move(
            database.prepare(std::string(connectionColumns) + "WHERE machine_id = ? ORDER BY created_at, id")
                .bind(machineId)),
        connectionOf);
}

bool SqliteStore::revoke(std::string const& id, Date now)
{
    database.prepare("UPDATE connections SET revoked_at = ? WHERE id = ? AND revoked_at IS NULL")
        .bind(dates::iso8601(now))
        .bind(id)
        .step();
    return database.changes() > 0;
}

std::vector<std::string> SqliteStore::pendingRevocations(std::string const& machineId)
{
    return allOf(
        std::move(database
                      .prepare("SELECT id FROM connections WHERE machine_id = ? AND revoked_at IS NOT NULL "
                               "AND revocation_told = 0 ORDER BY revoked_at")
                      .bind(machineId)),
        [](Statement const& row) { return row.text(0); });
}

void SqliteStore::setRevocationDelivered(std::string const& id)
{
    database.prepare("UPDATE connections SET revocation_told = 1 WHERE id = ?").bind(id).step();
}

Backlog SqliteStore::backlog()
{
    Statement commands = database.prepare("SELECT count(*) FROM queued_commands WHERE status = 'queued'");
    Statement deliveries = database.prepare(
        "SELECT count(*) FROM webhooks w JOIN webhook_deliveries d ON d.webhook_id = w.id AND "
        "d.status = 'waiting' WHERE w.disabled_at IS NULL");
    commands.step();
    deliveries.step();
    return {.commands = commands.integer(0), .deliveries = deliveries.integer(0)};
}

void SqliteStore::assertReadable()
{
    database.prepare("SELECT 1 FROM reserved_numbers").step();
}

std::uint64_t SqliteStore::reserveNumbers(std::uint64_t count)
{
    auto const numbers = static_cast<std::int64_t>(count);
    Statement row =
        database.prepare("INSERT INTO reserved_numbers VALUES (1, 1 + ?) ON CONFLICT DO UPDATE SET "
                         "next = next + ? RETURNING next");
    row.bind(numbers).bind(numbers);
    row.step();
    std::int64_t const next = row.integer(0);
    row.step(); // Commits.
    return static_cast<std::uint64_t>(next - numbers);
}

/// The table is made on demand: most gateways need no id, and older programs ignore it.
std::string SqliteStore::ownId()
{
    Transaction transaction(database);
    database.execute("CREATE TABLE IF NOT EXISTS own_id (only_row INTEGER PRIMARY KEY CHECK (only_row = 1), "
                     "id TEXT NOT NULL) STRICT");
    database.prepare("INSERT INTO own_id VALUES (1, ?) ON CONFLICT DO NOTHING").bind(newId("gwy")).step();
    std::string id;
    {
        Statement row = database.prepare("SELECT id FROM own_id");
        row.step();
        id = row.text(0);
    }
    transaction.commit();
    return id;
}

Page<StoredMachine> SqliteStore::machinePage(PageQuery const& query)
{
    PageReach const reach{"id IN (SELECT machine_id FROM connections WHERE revoked_at IS NULL AND (id IN "
                          "(SELECT value FROM json_each(?)) OR end_user_id IN (SELECT value FROM "
                          "json_each(?))))",
                          {listText(query.reach.connections), listText(query.reach.endUsers)}};
    return pageOf(database, machineColumns, {}, query, machineOf, reach);
}

Page<StoredConnection> SqliteStore::connectionPage(PageQuery const& query)
{
    PageReach const reach{"(id IN (SELECT value FROM json_each(?)) OR end_user_id IN (SELECT value FROM "
                          "json_each(?)))",
                          {listText(query.reach.connections), listText(query.reach.endUsers)}};
    return pageOf(database, connectionColumns,
                  {{"end_user_id", query.endUserId}, {"machine_id", query.machineId}}, query, connectionOf,
                  reach);
}

} // namespace zelvo::service
