#include "ZelvoGateway/control/CommandQueue.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/JsonWork.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/machines/MachineReply.h"
#include "base/DateText.h"

#include <algorithm>

namespace zelvo::service {

namespace {

using records::CommandStatus;

constexpr Duration crowdedPause = 1s; // Before another try when too many want the same machine.

Failure noCommand()
{
    return {.code = ErrorCode::notFound, .message = "There is no such command"};
}

std::string errorText(ErrorCode code, std::string_view message, std::optional<json::object> details = {})
{
    json::object error{{"code", rawValue(code)}, {"message", message}};
    if (details)
        error["details"] = *std::move(details);
    return writeJson(error);
}

CommandEnd failedWith(Failure const& failure)
{
    return {.status = CommandStatus::failed,
            .error = errorText(failure.code, failure.message, failure.details)};
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

std::string recordText(StoredCommand const& command)
{
    // Result and error are JSON already, and may be large.
    std::string text = R"({"commandId":")" + command.id + R"(","expiresAt":")" +
                       dates::iso8601(command.expiresAt) + R"(","status":")" +
                       std::string(rawValue(command.status)) + "\"";
    if (command.error)
        text += ",\"error\":" + *command.error;
    if (command.result)
        text += ",\"result\":" + *command.result;
    return text + "}";
}

CommandQueue::CommandQueue(
    Store& store, ControlService& control, Clock& clock, Settings const& settings, Executor workers)
    : store(store), control(control), clock(clock), settings(settings), workers(std::move(workers))
{
}

records::QueuedCommand CommandQueue::add(StoredConnection const& connection,
                                         PlatformCommand const& command,
                                         std::string id,
                                         std::string summary,
                                         std::string frame)
{
    store.expireCommands(clock.date());
    assertRoom(connection, frame.size());
    auto const ttl = std::chrono::seconds(command.delivery.ttlSeconds.value_or(DeliveryBounds::defaultTtl));
    StoredCommand const kept{.id = std::move(id),
                             .connectionId = connection.id,
                             .method = command.method,
                             .summary = std::move(summary),
                             .frame = std::move(frame),
                             .expiresAt = clock.date() + ttl};
    store.addCommand(kept);
    return {.commandId = kept.id,
            .error = {},
            .expiresAt = dates::iso8601(kept.expiresAt),
            .result = {},
            .status = kept.status};
}

void CommandQueue::assertRoom(StoredConnection const& connection, std::size_t bytes)
{
    Limits const& limits = settings.limits;
    if (bytes > limits.queuedCommand)
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "The machine is not available, and this command is too large to be queued",
                      .status = 413};
    QueueUse const mine = store.queueOfConnection(connection.id);
    if (mine.commands >= limits.queuedCommands || mine.bytes + bytes > limits.queuedBytes)
        throw Failure{.code = ErrorCode::rateLimited,
                      .message = "The queue of this connection is full: " + std::to_string(mine.commands) +
                                 " commands wait"};
    QueueUse const all = store.queueOfMachine(connection.machineId);
    if (all.commands >= limits.queuedCommandsOfMachine || all.bytes + bytes > limits.queuedBytesOfMachine)
        throw Failure{.code = ErrorCode::rateLimited,
                      .message = "The queue of this machine is full: " + std::to_string(all.commands) +
                                 " commands wait"};
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
                      .status = 409};
    end(command, CommandStatus::queued, {.status = CommandStatus::canceled});
    return state(connectionId, id);
}

void CommandQueue::presenceTold(std::shared_ptr<MachineSession> const& session)
{
    auto const visit = visitOf(session);
    bool const wasBack = visit->back;
    if (!session->presence().isBack()) {
        endVisit(visit);
    } else if (!wasBack) {
        visit->back = true;
        offerAll(visit);
    }
}

std::shared_ptr<CommandQueue::Visit> CommandQueue::visitOf(std::shared_ptr<MachineSession> const& session)
{
    auto& visit = visits[session->machineId()];
    if (!visit || visit->session != session)
        visit =
            std::make_shared<Visit>(Visit{.session = session, .offered = {}, .accepted = {}, .running = {}});
    return visit;
}

bool CommandQueue::goesOn(std::shared_ptr<Visit> const& visit) const
{
    auto const entry = visits.find(visit->session->machineId());
    return entry != visits.end() && entry->second == visit;
}

/// The machine stays connected but is not back any more; what was asked may still be answered.
void CommandQueue::endVisit(std::shared_ptr<Visit> const& visit)
{
    if (!visit->back || !goesOn(visit))
        return;
    visits[visit->session->machineId()] = std::make_shared<Visit>(
        Visit{.session = visit->session, .offered = visit->offered, .accepted = {}, .running = {}});
}

void CommandQueue::offerAll(std::shared_ptr<Visit> const& visit)
{
    store.expireCommands(clock.date());
    visit->offered.clear();
    std::map<std::string, Commands> waiting;
    for (StoredCommand& command : store.waitingCommands(visit->session->machineId(), clock.date()))
        if (visit->session->presence().knows(command.connectionId))
            waiting[command.connectionId].push_back(std::move(command));
    for (auto& [connectionId, commands] : waiting) {
        // Before it is sent, since the decision may come before the reply.
        for (StoredCommand const& command : commands)
            visit->offered[connectionId].push_back(command.id);
        spawn(visit->session->executor(), [this, visit, whose = store.connection(connectionId),
                                           all = std::move(commands)] { return offer(visit, *whose, all); });
    }
}

Task<> CommandQueue::offer(std::shared_ptr<Visit> visit, StoredConnection connection, Commands commands)
{
    while (goesOn(visit) && !co_await offerOnce(visit, connection, commands))
        co_await clock.sleep(crowdedPause);
}

/// False when it was not sent, since too much is under way to the machine.
Task<bool>
CommandQueue::offerOnce(std::shared_ptr<Visit> visit, StoredConnection connection, Commands commands)
{
    std::string const requestId = newId("req");
    json::object const frame{
        {"id", requestId}, {"method", "queue.offer"}, {"params", offerOf(connection, commands)}};
    try {
        MachineMessage const reply =
            co_await visit->session->call(requestId, writeJson(frame), settings.commandTimeout);
        auto const code = errorCodeOf(reply.value.get_object());
        if (code)
            visit->offered.erase(connection.id);
        if (isNotReady(code))
            endVisit(visit);
    } catch (Failure const& failure) {
        // Without a reply the person may have been asked all the same; the next visit offers it again.
        co_return failure.code != ErrorCode::rateLimited;
    }
    co_return true;
}

void CommandQueue::acknowledged(std::shared_ptr<MachineSession> const& session,
                                records::MachineEvent const& event)
{
    if (!event.connectionId || !event.data)
        return;
    auto const visit = visitOf(session);
    auto const entry = visit->offered.find(*event.connectionId);
    if (entry == visit->offered.end())
        return;
    auto const accepted = idsOf(*event.data, "accepted");
    auto const declined = idsOf(*event.data, "declined");
    std::vector<std::string> toRun;
    store.expireCommands(clock.date());
    std::erase_if(entry->second, [&](std::string const& id) {
        if (declined.contains(id)) { // A command that is in both lists was not agreed to.
            deny(id);
            return true;
        }
        bool const runs = visit->back && accepted.contains(id);
        if (runs)
            toRun.push_back(id);
        return runs;
    });
    accept(visit, *event.connectionId, toRun);
}

void CommandQueue::deny(std::string const& id)
{
    Failure const denied{.code = ErrorCode::deniedByUser, .message = "The user denied the action"};
    if (auto const command = store.command(id))
        end(*command, CommandStatus::queued, failedWith(denied));
}

void CommandQueue::accept(std::shared_ptr<Visit> const& visit,
                          std::string const& connectionId,
                          std::vector<std::string> const& ids)
{
    if (ids.empty())
        return;
    auto& queue = visit->accepted[connectionId];
    queue.insert(queue.end(), ids.begin(), ids.end());
    if (!visit->running.insert(connectionId).second)
        return;
    spawn(visit->session->executor(),
          [this, visit, connectionId] { return runAccepted(visit, connectionId); });
}

Task<> CommandQueue::runAccepted(std::shared_ptr<Visit> visit, std::string connectionId)
{
    auto& queue = visit->accepted[connectionId];
    try {
        while (goesOn(visit) && !queue.empty()) {
            std::string const id = std::move(queue.front());
            queue.pop_front();
            co_await runOne(visit, id);
        }
    } catch (...) {
        visit->running.erase(connectionId);
        throw;
    }
    visit->running.erase(connectionId);
}

Task<> CommandQueue::runOne(std::shared_ptr<Visit> visit, std::string id)
{
    auto const command = store.command(id);
    auto const connection = command ? store.connection(command->connectionId) : std::nullopt;
    if (!connection || connection->revokedAt || command->status != CommandStatus::queued)
        co_return; // Taken back, over, or revoked meanwhile.
    auto const frame = co_await parseOn(workers, command->frame);
    json::object const& object = frame.value().as_object();
    Agent const agent = agentOf(*connection, read::object(object, "agent"));
    Duration const patience = patienceFor(read::object(object, "params"), settings.commandTimeout);
    Instant const deadline = clock.now() + (command->expiresAt - clock.date());
    std::optional<Failure> refused;
    std::optional<ControlService::Lease> lease;
    try {
        lease.emplace(co_await control.acquire(*connection, command->method, agent, deadline));
    } catch (Failure const& failure) {
        refused = failure;
    }
    if (!goesOn(visit))
        co_return;
    if (refused && refused->code == ErrorCode::agentPaused)
        end(*command, CommandStatus::queued, failedWith(*refused));
    else if (refused && refused->code == ErrorCode::machineBusy)
        co_await tryLater(visit, *command);
    else if (!refused && store.startCommand(id, clock.date())) // Else it is over, or was taken back.
        co_await send(visit, *command, patience);
}

Task<> CommandQueue::send(std::shared_ptr<Visit> visit, StoredCommand command, Duration patience)
{
    std::optional<Failure> failure;
    std::optional<MachineMessage> reply;
    try {
        reply = co_await visit->session->call(command.id, command.frame, patience);
    } catch (Failure const& thrown) {
        failure = thrown;
    }
    if (failure && failure->code == ErrorCode::rateLimited) { // It was not sent.
        store.requeueCommand(command.id);
        co_await tryLater(visit, std::move(command));
        co_return;
    }
    if (failure) {
        end(command, CommandStatus::running, failedWith(*failure));
        co_return;
    }
    auto const code = errorCodeOf(reply->value.get_object());
    if (code && wasNotStarted(command.method, *code)) {
        store.requeueCommand(command.id);
        endVisit(visit);
        co_return;
    }
    CommandEnd const ended = co_await endOf(*std::move(reply));
    end(command, CommandStatus::running, ended);
}

/// Puts a command that could not be sent at the head of those that are to run.
Task<> CommandQueue::tryLater(std::shared_ptr<Visit> visit, StoredCommand command)
{
    if (command.expiresAt <= clock.date())
        co_return;
    visit->accepted[command.connectionId].push_front(command.id);
    co_await clock.sleep(crowdedPause);
}

Task<CommandEnd> CommandQueue::endOf(MachineMessage reply)
{
    json::object& object = reply.value.get_object();
    if (auto const failure = failureIn({}, object))
        co_return failedWith(*failure);
    std::string text = co_await writeOn(workers, std::move(object.at("result")), reply.bytes);
    if (text.size() > settings.limits.queuedResult)
        co_return failedWith({.code = ErrorCode::internalError,
                              .message = "The command was carried out, but its result of " +
                                         std::to_string(text.size()) + " bytes is too large to be kept"});
    co_return CommandEnd{.status = CommandStatus::completed, .result = std::move(text)};
}

void CommandQueue::end(StoredCommand const& command, CommandStatus status, CommandEnd const& end)
{
    store.endCommand(command.id, status, end, clock.date());
    store.trimEndedCommands(command.connectionId, settings.limits.endedCommands, settings.limits.endedBytes);
}

void CommandQueue::sessionEnded(std::shared_ptr<MachineSession> const& session)
{
    auto const entry = visits.find(session->machineId());
    if (entry != visits.end() && entry->second->session == session)
        visits.erase(entry);
}

void CommandQueue::machineRefused(std::shared_ptr<MachineSession> const& session)
{
    auto const entry = visits.find(session->machineId());
    if (entry != visits.end() && entry->second->session == session)
        endVisit(std::shared_ptr(entry->second));
}

void CommandQueue::tidy()
{
    store.expireCommands(clock.date());
    store.forgetEndedCommands(clock.date() -
                              std::chrono::floor<std::chrono::microseconds>(settings.queuedResultKept));
}

} // namespace zelvo::service
