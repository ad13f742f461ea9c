#include "ZelvoGateway/control/CommandService.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/JsonWork.h"
#include "ZelvoGateway/base/KnownMethod.h"
#include "ZelvoGateway/base/Log.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/control/CommandMeasure.h"
#include "ZelvoGateway/control/MethodRules.h"
#include "ZelvoGateway/machines/MachineReply.h"

namespace zelvo::service {

CommandService::CommandService(Store& store,
                               MachineDirectory& machines,
                               ControlService& control,
                               CommandQueue& queue,
                               KeyRing& keys,
                               AuditLog& audit,
                               Settings const& settings,
                               Clock& clock,
                               Executor workers,
                               Metrics& metrics)
    : store(store), machines(machines), control(control), queue(queue), keys(keys), audit(audit),
      settings(settings), clock(clock), workers(std::move(workers)), metrics(metrics)
{
}

StoredConnection CommandService::connectionOf(Caller const& caller, std::string const& id)
{
    auto connection = store.connection(id);
    if (!connection || connection->revokedAt || !caller.reaches(*connection))
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such connection"};
    return *std::move(connection);
}

/// After a wait, in which the connection or the key may have been revoked.
void CommandService::assertStillAllowed(Submission const& submission)
{
    if (!keys.isCurrent(submission.caller))
        throw Failure{.code = ErrorCode::unauthorized, .message = "The API key was revoked or replaced"};
    connectionOf(submission.caller, submission.connection.id);
}

std::shared_ptr<ConnectedMachine> CommandService::onlineMachine(std::string const& machineId) const
{
    auto machine = machines.find(machineId);
    if (!machine)
        throw Failure{.code = ErrorCode::machineOffline, .message = "The machine is not connected"};
    return machine;
}

Task<CommandOutcome>
CommandService::run(Caller caller, std::string connectionId, PlatformCommand command, std::size_t bytes)
{
    CommandMeasure measure(
        metrics, clock,
        {.method = command.method, .requestId = command.requestId, .connectionId = connectionId});
    try {
        CommandOutcome outcome =
            co_await carryOut(std::move(caller), std::move(connectionId), std::move(command), bytes);
        measure.ended(std::holds_alternative<StoredCommand>(outcome) ? CommandReport::End::queued
                                                                     : CommandReport::End::done);
        co_return outcome;
    } catch (Failure const& failure) {
        measure.failed(failure);
        throw;
    }
}

Task<CommandOutcome>
CommandService::carryOut(Caller caller, std::string connectionId, PlatformCommand command, std::size_t bytes)
{
    StoredConnection connection = connectionOf(caller, connectionId);
    MethodRules::assertForPlatforms(command.method);
    audit.addCommand(caller, connection, command.method);
    Submission submission = co_await prepare(std::move(connection), std::move(command), bytes);
    submission.caller = std::move(caller);
    assertStillAllowed(submission);
    std::string const& machineId = submission.connection.machineId;
    control.assertNotPaused(machineId, submission.agent.ref);
    auto const machine = machines.find(machineId);
    if (submission.command.mayBeQueued() && (!machine || !machine->presence().isUsable()))
        co_return enqueue(std::move(submission));
    onlineMachine(machineId);
    co_return co_await send(std::move(submission));
}

Task<CommandService::Submission>
CommandService::prepare(StoredConnection connection, PlatformCommand command, std::size_t bytes)
{
    applyConfirmationTime(command);
    Submission submission;
    submission.agent = agentOf(connection, command.agentIfAny());
    submission.patience = patienceFor(command.paramsIfAny(), settings.commandTimeout);
    if (command.mayBeQueued())
        submission.summary = summaryOf(command.method, command.paramsIfAny());
    submission.id = newId(command.mayBeQueued() ? "cmd" : "req");
    json::value frame = frameOf(submission.id, connection.id, command);
    submission.text = co_await writeOn(workers, std::move(frame), bytes);
    submission.connection = std::move(connection);
    submission.command = std::move(command);
    co_return submission;
}

Task<CommandOutcome> CommandService::send(Submission submission)
{
    std::string const& method = submission.command.method;
    Duration const patience = submission.command.mustNotWait()
                                  ? Duration{}
                                  : submission.command.patience.value_or(settings.control.patience);
    std::optional<Failure> refused;
    std::optional<ControlService::Lease> lease;
    try {
        lease.emplace(co_await control.acquire(submission.connection, method, submission.agent,
                                               clock.now() + patience));
    } catch (Failure const& failure) {
        refused = failure;
    }
    assertStillAllowed(submission);
    if (refused)
        throw *refused;
    auto const machine = onlineMachine(submission.connection.machineId);
    bool const mayBeKept =
        submission.command.mayBeQueued() && submission.text.size() <= settings.limits.queuedCommand;
    std::string kept = mayBeKept ? submission.text : std::string();
    logSent(submission);
    MachineMessage reply =
        co_await machine->call(submission.id, std::move(submission.text), submission.patience);
    json::object& object = reply.value.get_object();
    auto const code = errorCodeOf(object);
    if (mayBeKept && code && MethodRules::wasNotStarted(method, *code)) {
        queue.machineRefused(machine);
        assertStillAllowed(submission);
        submission.text = std::move(kept);
        co_return enqueue(std::move(submission));
    }
    if (auto failure = failureIn(submission.id, object)) {
        failure->wasNotStarted = code && MethodRules::wasNotStarted(method, *code);
        throw *std::move(failure);
    }
    co_return CommandResult{
        .value = std::move(object.at("result")), .bytes = reply.bytes, .memory = std::move(reply.memory)};
}

/// With the id that the machine sees, which is also in the answer if the machine refuses.
void CommandService::logSent(Submission const& submission)
{
    if (!Log::takes(Log::Level::debug))
        return;
    std::string const& request =
        submission.command.requestId.empty() ? submission.id : submission.command.requestId;
    std::string_view const method = knownMethod(submission.command.method);
    Log::debug(request + " " + std::string(method) + " sent to " + submission.connection.machineId,
               {{"requestId", request},
                {"frame", submission.id},
                {"machine", submission.connection.machineId},
                {"connection", submission.connection.id},
                {"method", method}});
}

CommandOutcome CommandService::enqueue(Submission submission)
{
    return queue.add(submission.connection, submission.command,
                     {.id = std::move(submission.id),
                      .summary = std::move(submission.summary),
                      .frame = std::move(submission.text),
                      .keyId = submission.caller.keyId});
}

StoredCommand
CommandService::state(Caller const& caller, std::string const& connectionId, std::string const& commandId)
{
    assertExists(caller, connectionId);
    return queue.state(connectionId, commandId);
}

StoredCommand
CommandService::cancel(Caller const& caller, std::string const& connectionId, std::string const& commandId)
{
    StoredConnection const connection = connectionOf(caller, connectionId);
    StoredCommand canceled = queue.cancel(connectionId, commandId);
    audit.add(caller, AuditEntry::of(connection, "command.canceled",
                                     {{"commandId", canceled.id}, {"method", knownMethod(canceled.method)}}));
    return canceled;
}

} // namespace zelvo::service
