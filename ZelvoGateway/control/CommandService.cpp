#include "ZelvoGateway/control/CommandService.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/JsonWork.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/machines/MachineReply.h"

namespace zelvo::service {

CommandService::CommandService(Store& store,
                               MachineRegistry& machines,
                               Settings const& settings,
                               Clock& clock,
                               MemoryBudget& memory,
                               Executor workers)
    : store(store), machines(machines), settings(settings), clock(clock), memory(memory), workers(workers),
      control(store, clock, settings), queue(store, control, clock, settings, workers)
{
}

StoredConnection CommandService::connectionOf(std::string const& id)
{
    auto connection = store.connection(id);
    if (!connection || connection->revokedAt)
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such connection"};
    return *std::move(connection);
}

Task<HttpResponse> CommandService::run(std::string connectionId, std::string body)
{
    // Before the body is looked at: nobody waits for the reading of what can't be sent.
    StoredConnection connection = connectionOf(connectionId);
    Way way = co_await read(std::move(connection), std::move(body));
    control.assertNotPaused(way.connection.machineId, way.agent.ref);
    auto const session = machines.find(way.connection.machineId);
    if (way.command.mayBeQueued() && (!session || !session->presence().isUsable()))
        co_return enqueue(std::move(way));
    if (!session)
        throw Failure{.code = ErrorCode::machineOffline, .message = "The machine is not connected"};
    co_return co_await send(std::move(way));
}

Task<CommandService::Way> CommandService::read(StoredConnection connection, std::string body)
{
    auto parsed = co_await parseOn(workers, body);
    json::object* const object = parsed ? parsed->if_object() : nullptr;
    if (!object)
        throw Failure{.code = ErrorCode::invalidRequest, .message = "The body must be a JSON object"};
    Way way;
    way.connection = std::move(connection);
    way.command = readCommand(std::move(*object));
    auto const* const params = way.command.params ? &*way.command.params : nullptr;
    way.agent = agentOf(way.connection, way.command.agent ? &*way.command.agent : nullptr);
    way.patience = patienceFor(params, settings.commandTimeout);
    way.summary = summaryOf(way.command.method, params);
    way.id = newId(way.command.mayBeQueued() ? "cmd" : "req");
    json::value frame = frameOf(way.id, way.connection.id, way.command);
    way.text = co_await writeOn(workers, std::move(frame), body.size());
    co_return way;
}

Task<HttpResponse> CommandService::send(Way way)
{
    std::string const machineId = way.connection.machineId;
    Instant const deadline =
        clock.now() + (way.command.mustNotWait() ? Duration{} : settings.control.patience);
    std::optional<Failure> refused;
    std::optional<ControlService::Lease> lease;
    try {
        lease.emplace(co_await control.acquire(way.connection, way.command.method, way.agent, deadline));
    } catch (Failure const& failure) {
        refused = failure;
    }
    // Asked again, since both may have ended meanwhile.
    connectionOf(way.connection.id);
    if (refused)
        throw *refused;
    auto const session = machines.find(machineId);
    if (!session)
        throw Failure{.code = ErrorCode::machineOffline, .message = "The machine is not connected"};
    bool const mayBeKept = way.command.mayBeQueued() && way.text.size() <= settings.limits.queuedCommand;
    std::string const kept = mayBeKept ? way.text : std::string();
    MachineMessage reply = co_await session->call(way.id, std::move(way.text), way.patience);
    auto const code = errorCodeOf(reply.value.get_object());
    if (mayBeKept && code && wasNotStarted(way.command.method, *code)) {
        // It is less ready than its last heartbeat said.
        queue.machineRefused(session);
        connectionOf(way.connection.id);
        way.text = kept;
        co_return enqueue(std::move(way));
    }
    co_return co_await responseOf(way.id, std::move(reply));
}

HttpResponse CommandService::enqueue(Way way)
{
    auto const queued = queue.add(way.connection, way.command, std::move(way.id), std::move(way.summary),
                                  std::move(way.text));
    return jsonResponse(202, records::toJson(queued));
}

Task<HttpResponse> CommandService::responseOf(std::string requestId, MachineMessage reply)
{
    json::object& object = reply.value.get_object();
    if (auto const failure = failureIn(requestId, object))
        throw *failure;
    json::object answer;
    answer.emplace("result", std::move(object.at("result")));
    json::value value(std::move(answer));
    HttpResponse response;
    response.body = co_await writeOn(workers, std::move(value), reply.bytes);
    response.memory = std::move(reply.memory);
    co_return response;
}

HttpResponse CommandService::state(std::string const& connectionId, std::string const& commandId)
{
    connectionOf(connectionId);
    return recordResponse(queue.state(connectionId, commandId));
}

HttpResponse CommandService::cancel(std::string const& connectionId, std::string const& commandId)
{
    connectionOf(connectionId);
    return recordResponse(queue.cancel(connectionId, commandId));
}

HttpResponse CommandService::recordResponse(StoredCommand command)
{
    HttpResponse response;
    response.body = recordText(command);
    if (!memory.grow(response.memory, response.body.size()))
        throw Failure{.code = ErrorCode::rateLimited, .message = "Too many large bodies at this time"};
    return response;
}

void CommandService::connectionRevoked(std::string const& machineId, std::string const& connectionId)
{
    control.connectionRevoked(machineId, connectionId);
    queue.connectionRevoked(connectionId);
}

void CommandService::presenceTold(std::shared_ptr<MachineSession> const& session)
{
    control.heartbeat(session);
    queue.presenceTold(session);
}

void CommandService::eventTold(std::shared_ptr<MachineSession> const& session,
                               records::MachineEvent const& event)
{
    using records::MachineEventType;
    auto const ref = event.data ? read::text(*event.data, "ref") : std::nullopt;
    if (event.event == MachineEventType::agentPause && ref)
        control.pause(session->machineId(), *ref);
    else if (event.event == MachineEventType::agentResume && ref)
        control.resume(session->machineId(), *ref);
    else if (event.event == MachineEventType::queuedCommandsACK)
        queue.acknowledged(session, event);
}

void CommandService::sessionEnded(std::shared_ptr<MachineSession> const& session)
{
    queue.sessionEnded(session);
    auto const newer = machines.find(session->machineId());
    if (!newer || newer == session) // Else it only changed its socket, and who holds goes on.
        control.machineGone(session->machineId());
}

} // namespace zelvo::service
