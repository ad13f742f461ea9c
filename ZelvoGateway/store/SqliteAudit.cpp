#include "ZelvoGateway/store/PageRows.h"
#include "ZelvoGateway/store/SqliteStore.h"
#include "base/DateText.h"

namespace zelvo::service {

namespace {

// The person at a machine pauses it there, or removes a connection; whoever notes that here adds the event in
// one step with it.
constexpr char const* schema = R"sql(
CREATE TABLE IF NOT EXISTS audit_events (
    id TEXT PRIMARY KEY, created_at TEXT NOT NULL, type TEXT NOT NULL, actor TEXT NOT NULL, key_id TEXT,
    key_name TEXT, key_prefix TEXT, connection_id TEXT, machine_id TEXT, end_user_id TEXT,
    details TEXT NOT NULL) STRICT;
CREATE INDEX IF NOT EXISTS audit_events_by_time ON audit_events(created_at, id);
CREATE INDEX IF NOT EXISTS audit_events_of_connection ON audit_events(connection_id, created_at, id);
CREATE TRIGGER IF NOT EXISTS audit_pause AFTER UPDATE OF paused ON machines WHEN old.paused <> new.paused BEGIN
    INSERT INTO audit_events (id, created_at, type, actor, machine_id, connection_id, end_user_id, details)
    SELECT printf('aud_%016x', CAST((julianday(new.last_seen_at) - 2440587.5) * 86400000000 AS INTEGER)) ||
            lower(hex(randomblob(4))), new.last_seen_at, iif(new.paused, 'machine.paused', 'machine.resumed'),
            'end_user', new.id, c.id, c.end_user_id, '{}'
        FROM (SELECT 1) LEFT JOIN connections c ON c.machine_id = new.id AND c.revoked_at IS NULL;
END;
CREATE TRIGGER IF NOT EXISTS audit_removed_at_machine AFTER UPDATE OF heartbeat ON machines
    WHEN new.kind = 'connected' AND json_type(new.heartbeat, '$.grantedConnectionIds') = 'array'
        AND json_extract(old.heartbeat, '$.grantedConnectionIds') <> json_extract(new.heartbeat, '$.grantedConnectionIds')
BEGIN
    INSERT INTO audit_events (id, created_at, type, actor, machine_id, connection_id, end_user_id, details)
    SELECT printf('aud_%016x', CAST((julianday(new.last_seen_at) - 2440587.5) * 86400000000 AS INTEGER)) ||
            lower(hex(randomblob(4))), new.last_seen_at, 'connection.removed', 'end_user', new.id, c.id,
            c.end_user_id, '{}'
        FROM connections c WHERE c.machine_id = new.id AND c.revoked_at IS NULL
            AND c.id IN (SELECT value FROM json_each(old.heartbeat, '$.grantedConnectionIds'))
            AND c.id NOT IN (SELECT value FROM json_each(new.heartbeat, '$.grantedConnectionIds'));
END;
)sql";

constexpr std::string_view columns = "SELECT id, created_at, type, actor, key_id, key_name, key_prefix, "
                                     "connection_id, machine_id, end_user_id, details FROM audit_events";

StoredAuditEvent eventOf(Statement const& row)
{
    StoredAuditEvent event;
    event.id = row.text(0);
    event.createdAt = row.text(1);
    event.type = row.text(2);
    event.actor = fromRawValue<records::Actor>(row.text(3)).value_or(records::Actor::system);
    if (auto const key = row.optionalText(4))
        event.key = {.id = *key, .name = row.text(5), .apiKeyPrefix = row.text(6)};
    event.connectionId = row.optionalText(7);
    event.machineId = row.optionalText(8);
    event.endUserId = row.optionalText(9);
    if (auto details = parseJson(row.text(10)); details && details->is_object())
        event.details = std::move(details->get_object());
    return event;
}

std::optional<std::string> partOf(std::optional<records::AuditEventAPIKey> const& key,
                                  std::string records::AuditEventAPIKey::* part)
{
    return key ? std::optional((*key).*part) : std::nullopt;
}

} // namespace

void SqliteStore::createAuditTable()
{
    database.execute(schema);
}

void SqliteStore::saveAuditEvents(std::vector<StoredAuditEvent> const& events)
{
    using Key = records::AuditEventAPIKey;
    Transaction transaction(database);
    for (StoredAuditEvent const& event : events)
        database
            .prepare("INSERT INTO audit_events (id, created_at, type, actor, key_id, key_name, key_prefix, "
                     "connection_id, machine_id, end_user_id, details) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, "
                     "?) ON CONFLICT (id) DO UPDATE SET details = excluded.details")
            .bind(event.id)
            .bind(event.createdAt)
            .bind(event.type)
            .bind(rawValue(event.actor))
            .bind(partOf(event.key, &Key::id))
            .bind(partOf(event.key, &Key::name))
            .bind(partOf(event.key, &Key::apiKeyPrefix))
            .bind(event.connectionId)
            .bind(event.machineId)
            .bind(event.endUserId)
            .bind(writeJson(event.details))
            .step();
    transaction.commit();
}

Page<StoredAuditEvent> SqliteStore::auditEventPage(PageQuery const& query)
{
    PageReach const reach{"(connection_id IN (SELECT value FROM json_each(?)) OR end_user_id IN (SELECT "
                          "value FROM json_each(?)))",
                          {listText(query.reach.connections), listText(query.reach.endUsers)}};
    return pageOf(database, columns, {{"connection_id", query.connectionId}, {"machine_id", query.machineId}},
                  query, eventOf, reach);
}

void SqliteStore::trimAuditEvents(Date oldest, std::size_t maxEvents)
{
    database.prepare("DELETE FROM audit_events WHERE created_at < ?").bind(dates::iso8601(oldest)).step();
    database
        .prepare("DELETE FROM audit_events WHERE (created_at, id) <= (SELECT created_at, id FROM "
                 "audit_events ORDER BY created_at DESC, id DESC LIMIT 1 OFFSET ?)")
        .bind(static_cast<std::int64_t>(maxEvents))
        .step();
}

} // namespace zelvo::service
