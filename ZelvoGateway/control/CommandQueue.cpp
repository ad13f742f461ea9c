#include "ZelvoGateway/control/CommandQueue.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/machines/MachineReply.h"
#include "base/DateText.h"

namespace zelvo::service {

namespace {

using records::CommandStatus;

constexpr Duration crowdedPause = 1s; // Before another attempt if too much is under way to the machine.

Failure noCommand()
{
    return {.code = ErrorCode::notFound, .message = "There is no such command"};
}

std::set<std::string> idsOf(json::object const& data, std::string_view key)
{
    std::set<std::string> ids;
    if (json::array const* const list = read::array(data, key))
        for (json::value const& one : *list)
            if (one.is_string())
                ids.emplace(one.get_string());
    return ids;
}

json::object offerOf(StoredConnection const& connection, std::vector<StoredCommand> const& commands)
{
    json::array list;
    for (StoredCommand const& command : commands)
        list.push_back({{"commandId", command.id},
                        {"type", command.method},
                        {"summary", command.summary},
                        {"expiresAt", dates::iso8601(command.expiresAt)}});
    return {{"connectionId", connection.id},
            {"platformName", connection.platformName},
            {"commands", std::move(list)}};
}

} // namespace

CommandQueue::CommandQueue(Store& store,
                           ControlService& control,
                           AuditLog& audit,
                           Clock& clock,
                           Settings const& settings,
                           OpenWork& work,
                           Executor server,
                           Executor workers,
                           Metrics& metrics)
    : store(store), audit(audit), clock(clock), settings(settings), server(server),
      runner(store, control, visits, clock, settings, work, server, std::move(workers), metrics)
{
}

StoredCommand
CommandQueue::add(StoredConnection const& connection, PlatformCommand const& command, Entry entry)
{
    store.expireCommands(clock.date());
    assertRoom(connection, entry.frame.size());
    auto const ttl = std::chrono::seconds(command.delivery.ttlSeconds.value_or(DeliveryBounds::defaultTtl));
    StoredCommand kept{.id = std::move(entry.id),
                       .connectionId = connection.id,
                       .method = command.method,
                       .summary = std::move(entry.summary),
                       .frame = std::move(entry.frame),
                       .expiresAt = clock.date() + ttl,
                       .keyId = std::move(entry.keyId)};
    store.addCommand(kept);
    return kept;
}

void CommandQueue::assertRoom(StoredConnection const& connection, std::size_t bytes)
{
    Limits const& limits = settings.limits;
    if (bytes > limits.queuedCommand)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "The machine is not available, and this command is too large to be queued",
                      .kind = Failure::Kind::tooLarge};
    QueueUse const mine = store.queueOfConnection(connection.id);
    if (mine.commands >= limits.queuedCommands || mine.bytes + bytes > limits.queuedBytes)
        throw Failure{.code = ErrorCode::rateLimited,
                      .message = "The queue of this connection is full: " + std::to_string(mine.commands) +
                                 " commands wait",
                      .limit = Refusal::queue};
    QueueUse const all = store.queueOfMachine(connection.machineId);
    if (all.commands >= limits.queuedCommandsOfMachine || all.bytes + bytes > limits.queuedBytesOfMachine)
        throw Failure{.code = ErrorCode::rateLimited,
                      .message = "The queue of this machine is full: " + std::to_string(all.commands) +
                                 " commands wait",
                      .limit = Refusal::queue};
}

StoredCommand CommandQueue::state(std::string const& connectionId, std::string const& id)
{
    store.expireCommands(clock.date());
    auto command = store.command(id);
    if (!command || command->connectionId != connectionId)
        throw noCommand();
    return *std::move(command);
}

StoredCommand CommandQueue::cancel(std::string const& connectionId, std::string const& id)
{
    StoredCommand const command = state(connectionId, id);
    if (command.status != CommandStatus::queued)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message =
                          "This command can't be taken back: it is " + std::string(rawValue(command.status)),
                      .kind = Failure::Kind::wrongState};
    runner.end(command, CommandStatus::queued, {.status = CommandStatus::canceled});
    return state(connectionId, id);
}

void CommandQueue::presenceChanged(std::shared_ptr<ConnectedMachine> const& machine)
{
    QueueVisits::Visit const visit = visits.of(machine);
    if (!machine->presence().isBack()) {
        visits.end(visit);
    } else if (!std::exchange(visit->back, true)) {
        offerAll(visit);
    }
}

void CommandQueue::offerAll(QueueVisits::Visit const& visit)
{
    store.expireCommands(clock.date());
    visit->offered.clear();
    std::map<std::string, Commands> waiting;
    for (StoredCommand& command : store.waitingCommands(visit->machine->machineId(), clock.date()))
        if (visit->machine->presence().knows(command.connectionId))
            waiting[command.connectionId].push_back(std::move(command));
    for (auto& [connectionId, commands] : waiting) {
        // Noted before it is sent: the person's answer may arrive before the reply.
        for (StoredCommand const& command : commands)
            visit->offered[connectionId].push_back(command.id);
        spawn(server, [this, visit, whose = store.connection(connectionId), all = std::move(commands)] {
            return offer(visit, *whose, all);
        });
    }
}

Task<> CommandQueue::offer(QueueVisits::Visit visit, StoredConnection connection, Commands commands)
{
    while (visits.isCurrent(visit) && !co_await offerOnce(visit, connection, commands))
        co_await clock.sleep(crowdedPause);
}

/// False if it was not sent, because too much is under way to the machine.
Task<bool> CommandQueue::offerOnce(QueueVisits::Visit visit, StoredConnection connection, Commands commands)
{
    std::string const requestId = newId("req");
    json::object const frame{
        {"id", requestId}, {"method", "queue.offer"}, {"params", offerOf(connection, commands)}};
    try {
        MachineMessage const reply =
            co_await visit->machine->call(requestId, writeJson(frame), settings.commandTimeout);
        auto const code = errorCodeOf(reply.value.get_object());
        if (code)
            visit->offered.erase(connection.id);
        if (isNotReady(code))
            visits.end(visit);
    } catch (Failure const& failure) {
        // The person may have been asked although no reply came. The next visit offers it again.
        co_return failure.code != ErrorCode::rateLimited;
    }
    co_return true;
}

void CommandQueue::acknowledged(std::shared_ptr<ConnectedMachine> const& machine,
                                records::MachineEvent const& event)
{
    if (!event.connectionId || !event.data)
        return;
    auto const visit = visits.of(machine);
    auto const entry = visit->offered.find(*event.connectionId);
    if (entry == visit->offered.end())
        return;
    auto const accepted = idsOf(*event.data, "accepted");
    auto const declined = idsOf(*event.data, "declined");
    std::vector<std::string> toRun;
    std::vector<std::string> denied;
    store.expireCommands(clock.date());
    std::erase_if(entry->second, [&](std::string const& id) {
        if (declined.contains(id)) { // A command in both lists counts as declined.
            runner.deny(id);
            denied.push_back(id);
            return true;
        }
        bool const runs = visit->back && accepted.contains(id);
        if (runs)
            toRun.push_back(id);
        return runs;
    });
    noteAnswer(*event.connectionId, "commands.accepted", json::array(toRun.begin(), toRun.end()));
    noteAnswer(*event.connectionId, "commands.declined", json::array(denied.begin(), denied.end()));
    runner.accept(visit, *event.connectionId, toRun);
}

void CommandQueue::noteAnswer(std::string const& connectionId, std::string_view type, json::array commandIds)
{
    auto const connection = commandIds.empty() ? std::nullopt : store.connection(connectionId);
    if (connection)
        audit.addFrom(records::Actor::endUser,
                      AuditEntry::of(*connection, type, {{"commandIds", std::move(commandIds)}}));
}

void CommandQueue::sessionEnded(std::shared_ptr<ConnectedMachine> const& machine)
{
    visits.remove(machine);
}

void CommandQueue::machineRefused(std::shared_ptr<ConnectedMachine> const& machine)
{
    if (QueueVisits::Visit const visit = visits.find(machine))
        visits.end(visit);
}

void CommandQueue::runMaintenance()
{
    store.expireCommands(clock.date());
    store.forgetEndedCommands(clock.date() - dateSpan(settings.queuedResultKept));
}

} // namespace zelvo::service
