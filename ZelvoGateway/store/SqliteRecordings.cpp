#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/store/Rows.h"
#include "ZelvoGateway/store/SqliteStore.h"

namespace zelvo::service {

namespace {

constexpr std::string_view columns = "SELECT id, connection_id, stage, size_bytes, duration_sec, created_at, "
                                     "deletes_at, upload_until FROM recordings ";

StoredRecording recordingOf(Statement const& row)
{
    StoredRecording recording;
    recording.id = row.text(0);
    recording.connectionId = row.text(1);
    recording.stage = fromRawValue<RecordingStage>(row.text(2)).value_or(RecordingStage::ended);
    recording.sizeBytes = static_cast<std::uint64_t>(row.integer(3));
    recording.durationSec = row.real(4);
    recording.createdAt = dateOfMilliseconds(row.integer(5));
    recording.deletesAt = dateOfMilliseconds(row.integer(6));
    recording.uploadUntil = dateOfMilliseconds(row.integer(7));
    return recording;
}

std::string idOf(Statement const& row)
{
    return row.text(0);
}

} // namespace

void SqliteStore::setShared(std::string const& connectionId, bool shared)
{
    database
        .prepare(shared ? "INSERT OR IGNORE INTO shared_recordings (connection_id) VALUES (?)"
                        : "DELETE FROM shared_recordings WHERE connection_id = ?")
        .bind(connectionId)
        .step();
}

bool SqliteStore::isShared(std::string const& connectionId)
{
    return database.prepare("SELECT 1 FROM shared_recordings WHERE connection_id = ?")
        .bind(connectionId)
        .step();
}

void SqliteStore::addRecording(StoredRecording const& recording, std::string_view uploadSecret)
{
    database
        .prepare("INSERT INTO recordings (id, connection_id, stage, size_bytes, duration_sec, created_at, "
                 "deletes_at, upload_until, upload_hash) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)")
        .bind(recording.id)
        .bind(recording.connectionId)
        .bind(rawValue(recording.stage))
        .bind(static_cast<std::int64_t>(recording.sizeBytes))
        .bind(recording.durationSec)
        .bind(millisecondsOf(recording.createdAt))
        .bind(millisecondsOf(recording.deletesAt))
        .bind(millisecondsOf(recording.uploadUntil))
        .bind(hashOf(uploadSecret))
        .step();
}

std::optional<StoredRecording> SqliteStore::recording(std::string const& id)
{
    return firstOf(std::move(database.prepare(std::string(columns) + "WHERE id = ?").bind(id)), recordingOf);
}

std::optional<StoredRecording> SqliteStore::recordingOfUpload(std::string_view secret)
{
    return firstOf(
        std::move(database.prepare(std::string(columns) + "WHERE upload_hash = ?").bind(hashOf(secret))),
        recordingOf);
}

std::vector<StoredRecording> SqliteStore::recordings(RecordingQuery const& query)
{
    std::string sql = std::string(columns) + "WHERE stage IN ('open', 'receiving', 'received', 'ready')";
    if (query.connectionId)
        sql += " AND connection_id = ?";
    if (query.before)
        sql += " AND sequence < (SELECT sequence FROM recordings WHERE id = ?)";
    if (!query.reach.all)
        sql += " AND connection_id IN (SELECT id FROM connections WHERE id IN (SELECT value FROM "
               "json_each(?)) OR end_user_id IN (SELECT value FROM json_each(?)))";
    Statement rows = database.prepare(sql + " ORDER BY sequence DESC LIMIT ?");
    if (query.connectionId)
        rows.bind(*query.connectionId);
    if (query.before)
        rows.bind(*query.before);
    if (!query.reach.all)
        rows.bind(listText(query.reach.connections)).bind(listText(query.reach.endUsers));
    return allOf(std::move(rows.bind(static_cast<std::int64_t>(query.limit))), recordingOf);
}

bool SqliteStore::moveRecording(std::string const& id, RecordingStage from, RecordingStage to, Date now)
{
    database.prepare("UPDATE recordings SET stage = ?, changed_at = ? WHERE id = ? AND stage = ?")
        .bind(rawValue(to))
        .bind(millisecondsOf(now))
        .bind(id)
        .bind(rawValue(from))
        .step();
    return database.changes() > 0;
}

RecordingUse SqliteStore::recordingUse()
{
    Statement row = database.prepare(
        "SELECT coalesce(sum(size_bytes), 0), coalesce(sum(iif(stage = 'open', size_bytes, 0)), 0) FROM "
        "recordings WHERE stage IN ('open', 'receiving', 'received', 'ready')");
    row.step();
    return {.bytes = static_cast<std::uint64_t>(row.integer(0)),
            .promised = static_cast<std::uint64_t>(row.integer(1))};
}

std::size_t SqliteStore::openUploads(std::string const& connectionId)
{
    Statement row = database.prepare(
        "SELECT count(*) FROM recordings WHERE connection_id = ? AND stage IN ('open', 'receiving')");
    row.bind(connectionId).step();
    return static_cast<std::size_t>(row.integer(0));
}

std::vector<std::string> SqliteStore::endUploads(std::string const& connectionId, Date now)
{
    return allOf(
        std::move(database
                      .prepare("UPDATE recordings SET stage = 'ended', changed_at = ? WHERE connection_id = "
                               "? AND stage IN ('open', 'receiving', 'received') RETURNING id")
                      .bind(millisecondsOf(now))
                      .bind(connectionId)),
        idOf);
}

void SqliteStore::endInterruptedUploads(Date now)
{
    database.prepare("UPDATE recordings SET stage = 'ended', changed_at = ? WHERE stage = 'receiving'")
        .bind(millisecondsOf(now))
        .step();
}

std::vector<std::string> SqliteStore::endOldRecordings(Date now, Date oldestReceived)
{
    return allOf(
        std::move(database
                      .prepare("UPDATE recordings SET stage = iif(stage = 'ready', 'deleted', 'ended'), "
                               "changed_at = ? WHERE (stage = 'ready' AND deletes_at <= ?) OR (stage = "
                               "'open' AND upload_until <= ?) OR (stage = 'received' AND changed_at <= ?) "
                               "RETURNING id")
                      .bind(millisecondsOf(now))
                      .bind(millisecondsOf(now))
                      .bind(millisecondsOf(now))
                      .bind(millisecondsOf(oldestReceived))),
        idOf);
}

void SqliteStore::forgetEndedRecordings(Date oldest)
{
    database.prepare("DELETE FROM recordings WHERE stage IN ('deleted', 'ended') AND changed_at <= ?")
        .bind(millisecondsOf(oldest))
        .step();
}

std::vector<std::string> SqliteStore::recordingsWithFiles()
{
    return allOf(database.prepare("SELECT id FROM recordings WHERE stage IN ('received', 'ready')"), idOf);
}

std::vector<std::string> SqliteStore::recordingsWithFiles(std::string const& machineId)
{
    return allOf(std::move(database
                               .prepare("SELECT id FROM recordings WHERE stage IN ('received', 'ready') AND "
                                        "connection_id IN (SELECT id FROM connections WHERE machine_id = ?)")
                               .bind(machineId)),
                 idOf);
}

} // namespace zelvo::service
