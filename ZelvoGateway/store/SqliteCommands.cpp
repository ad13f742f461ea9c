#include "ZelvoGateway/store/Rows.h"
#include "ZelvoGateway/store/SqliteStore.h"

namespace zelvo::service {

namespace {

using records::CommandStatus;

/// Columns: id, connection_id, method, summary, expires_at, status.
StoredCommand headOf(Statement const& row)
{
    StoredCommand command;
    command.id = row.text(0);
    command.connectionId = row.text(1);
    command.method = row.text(2);
    command.summary = row.text(3);
    command.expiresAt = dateOfMilliseconds(row.integer(4));
    command.status = fromRawValue<CommandStatus>(row.text(5)).value_or(CommandStatus::failed);
    return command;
}

QueueUse useOf(Statement& row)
{
    row.step();
    return {.commands = static_cast<std::size_t>(row.integer(0)),
            .bytes = static_cast<std::size_t>(row.integer(1))};
}

std::size_t sizeOf(std::optional<std::string> const& text)
{
    return text ? text->size() : 0;
}

constexpr char const* interruptedError =
    R"({"code":"internal_error","message":"The gateway stopped while the command ran. )"
    R"(Whether it was carried out is not known"})";

} // namespace

void SqliteStore::addCommand(StoredCommand const& command)
{
    Transaction transaction(database);
    database
        .prepare("INSERT INTO queued_commands (id, connection_id, method, summary, frame, status, "
                 "expires_at, bytes) VALUES (?, ?, ?, ?, ?, ?, ?, ?)")
        .bind(command.id)
        .bind(command.connectionId)
        .bind(command.method)
        .bind(command.summary)
        .bind(command.frame)
        .bind(rawValue(command.status))
        .bind(millisecondsOf(command.expiresAt))
        .bind(static_cast<std::int64_t>(command.frame.size()))
        .step();
    if (!command.keyId.empty())
        database.prepare("INSERT INTO keys_of_commands (command_id, key_id) VALUES (?, ?)")
            .bind(command.id)
            .bind(command.keyId)
            .step();
    transaction.commit();
}

std::optional<StoredCommand> SqliteStore::command(std::string const& id)
{
    Statement row = database.prepare("SELECT id, connection_id, method, summary, expires_at, status, frame, "
                                     "result, error FROM queued_commands WHERE id = ?");
    return firstOf(std::move(row.bind(id)), [](Statement const& found) {
        StoredCommand command = headOf(found);
        command.frame = found.text(6);
        command.result = found.optionalText(7);
        command.error = found.optionalText(8);
        return command;
    });
}

std::vector<StoredCommand> SqliteStore::waitingCommands(std::string const& machineId, Date now)
{
    Statement rows = database.prepare(
        "SELECT q.id, q.connection_id, q.method, q.summary, q.expires_at, q.status FROM queued_commands q "
        "JOIN connections c ON c.id = q.connection_id WHERE c.machine_id = ? AND c.revoked_at IS NULL AND "
        "q.status = 'queued' AND q.expires_at > ? ORDER BY q.sequence");
    return allOf(std::move(rows.bind(machineId).bind(millisecondsOf(now))), headOf);
}

QueueUse SqliteStore::queueOfConnection(std::string const& connectionId)
{
    Statement row = database.prepare("SELECT count(*), coalesce(sum(bytes), 0) FROM queued_commands "
                                     "WHERE connection_id = ? AND status IN ('queued', 'running')");
    return useOf(row.bind(connectionId));
}

QueueUse SqliteStore::queueOfMachine(std::string const& machineId)
{
    Statement row = database.prepare("SELECT count(*), coalesce(sum(bytes), 0) FROM queued_commands "
                                     "WHERE connection_id IN (SELECT id FROM connections WHERE machine_id = "
                                     "?) AND status IN ('queued', 'running')");
    return useOf(row.bind(machineId));
}

bool SqliteStore::startCommand(std::string const& id, Date now)
{
    // A command that ran when its key was revoked may be queued again.
    database
        .prepare("UPDATE queued_commands SET status = 'running' WHERE id = ? AND status = 'queued' AND "
                 "expires_at > ? AND NOT EXISTS (SELECT 1 FROM keys_of_commands k JOIN api_keys a ON a.id = "
                 "k.key_id WHERE k.command_id = queued_commands.id AND a.revoked_at IS NOT NULL)")
        .bind(id)
        .bind(millisecondsOf(now))
        .step();
    return database.changes() > 0;
}

void SqliteStore::requeueCommand(std::string const& id)
{
    database.prepare("UPDATE queued_commands SET status = 'queued' WHERE id = ? AND status = 'running'")
        .bind(id)
        .step();
}

bool SqliteStore::endCommand(std::string const& id, CommandStatus status, CommandEnd const& end, Date now)
{
    database
        .prepare("UPDATE queued_commands SET status = ?, result = ?, error = ?, ended_at = ?, bytes = ?, "
                 "frame = '' WHERE id = ? AND status = ?")
        .bind(rawValue(end.status))
        .bind(end.result)
        .bind(end.error)
        .bind(millisecondsOf(now))
        .bind(static_cast<std::int64_t>(sizeOf(end.result) + sizeOf(end.error)))
        .bind(id)
        .bind(rawValue(status))
        .step();
    return database.changes() > 0;
}

void SqliteStore::expireCommands(Date now)
{
    // It ended when its time was over, however much later somebody looks.
    database
        .prepare("UPDATE queued_commands SET status = 'expired', ended_at = expires_at, bytes = 0, frame = "
                 "'' WHERE "
                 "status = 'queued' AND expires_at <= ?")
        .bind(millisecondsOf(now))
        .step();
}

void SqliteStore::endInterruptedCommands(Date now)
{
    database
        .prepare("UPDATE queued_commands SET status = 'failed', error = ?, ended_at = ?, bytes = 0, frame = "
                 "'' WHERE "
                 "status = 'running'")
        .bind(std::string_view(interruptedError))
        .bind(millisecondsOf(now))
        .step();
}

void SqliteStore::forgetEndedCommands(Date oldest)
{
    database.prepare("DELETE FROM queued_commands WHERE ended_at < ?").bind(millisecondsOf(oldest)).step();
}

void SqliteStore::trimEndedCommands(std::string const& connectionId,
                                    std::size_t maxCommands,
                                    std::size_t maxBytes)
{
    database
        .prepare("DELETE FROM queued_commands WHERE sequence IN (SELECT sequence FROM (SELECT sequence, "
                 "row_number() OVER newest AS place, sum(bytes) OVER newest AS used "
                 "FROM queued_commands WHERE connection_id = ? AND ended_at IS NOT NULL WINDOW newest AS "
                 "(ORDER BY ended_at DESC, sequence DESC)) WHERE place > ? OR used > ?)")
        .bind(connectionId)
        .bind(static_cast<std::int64_t>(maxCommands))
        .bind(static_cast<std::int64_t>(maxBytes))
        .step();
}

void SqliteStore::dropCommands(std::string const& connectionId)
{
    database.prepare("DELETE FROM queued_commands WHERE connection_id = ?").bind(connectionId).step();
}

void SqliteStore::addPausedAgent(std::string const& machineId, PausedAgent const& paused)
{
    database
        .prepare("INSERT OR REPLACE INTO paused_agents (machine_id, ref, connection_id, name, task, since) "
                 "VALUES (?, ?, ?, ?, ?, ?)")
        .bind(machineId)
        .bind(paused.agent.ref)
        .bind(paused.agent.connectionId)
        .bind(paused.agent.name)
        .bind(paused.agent.task)
        .bind(millisecondsOf(paused.since))
        .step();
}

void SqliteStore::removePausedAgent(std::string const& machineId, std::string const& ref)
{
    database.prepare("DELETE FROM paused_agents WHERE machine_id = ? AND ref = ?")
        .bind(machineId)
        .bind(ref)
        .step();
}

void SqliteStore::removePausedAgents(std::string const& connectionId)
{
    database.prepare("DELETE FROM paused_agents WHERE connection_id = ?").bind(connectionId).step();
}

std::vector<PausedAgent> SqliteStore::pausedAgents(std::string const& machineId)
{
    Statement rows = database.prepare("SELECT ref, connection_id, name, task, since FROM paused_agents WHERE "
                                      "machine_id = ? ORDER BY since, ref");
    return allOf(std::move(rows.bind(machineId)), [](Statement const& row) {
        PausedAgent paused;
        paused.agent = {.ref = row.text(0),
                        .connectionId = row.text(1),
                        .name = row.text(2),
                        .task = row.optionalText(3)};
        paused.since = dateOfMilliseconds(row.integer(4));
        return paused;
    });
}

} // namespace zelvo::service
