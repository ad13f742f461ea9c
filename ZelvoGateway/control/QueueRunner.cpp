#include "ZelvoGateway/control/QueueRunner.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/JsonWork.h"
#include "ZelvoGateway/control/CommandMeasure.h"
#include "ZelvoGateway/control/MethodRules.h"
#include "ZelvoGateway/control/PlatformCommand.h"
#include "ZelvoGateway/machines/MachineReply.h"

namespace zelvo::service {

namespace {

using records::CommandStatus;

constexpr Duration crowdedPause = 1s; // Before another attempt if too many want the same machine.

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

} // namespace

QueueRunner::QueueRunner(Store& store,
                         ControlService& control,
                         QueueVisits& visits,
                         Clock& clock,
                         Settings const& settings,
                         OpenWork& work,
                         Executor server,
                         Executor workers,
                         Metrics& metrics)
    : store(store), control(control), visits(visits), clock(clock), settings(settings), work(work),
      server(std::move(server)), workers(std::move(workers)), metrics(metrics)
{
}

void QueueRunner::accept(QueueVisits::Visit const& visit,
                         std::string const& connectionId,
                         std::vector<std::string> const& ids)
{
    if (ids.empty())
        return;
    auto& queue = visit->accepted[connectionId];
    queue.insert(queue.end(), ids.begin(), ids.end());
    if (!visit->running.insert(connectionId).second)
        return;
    spawn(server, [this, visit, connectionId] { return runAccepted(visit, connectionId); });
}

Task<> QueueRunner::runAccepted(QueueVisits::Visit visit, std::string connectionId)
{
    auto& queue = visit->accepted[connectionId];
    try {
        while (visits.isCurrent(visit) && !queue.empty() && !work.isClosing()) {
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

Task<> QueueRunner::runOne(QueueVisits::Visit visit, std::string id)
{
    auto const command = store.command(id);
    auto const connection = command ? store.connection(command->connectionId) : std::nullopt;
    if (!connection || connection->revokedAt || command->status != CommandStatus::queued)
        co_return; // Cancelled, expired, or revoked meanwhile.
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
    if (!visits.isCurrent(visit) || work.isClosing())
        co_return;
    if (refused && refused->code == ErrorCode::agentPaused)
        end(*command, CommandStatus::queued, failedWith(*refused));
    else if (refused && refused->code == ErrorCode::machineBusy)
        co_await retryLater(visit, *command);
    else if (!refused && store.startCommand(id, clock.date())) // False if it has expired or was cancelled.
        co_await send(visit, *command, patience);
}

Task<> QueueRunner::send(QueueVisits::Visit visit, StoredCommand command, Duration patience)
{
    OpenWork::Lease open = work.begin();
    Instant const began = clock.now();
    std::optional<Failure> failure;
    std::optional<MachineMessage> reply;
    try {
        reply = co_await visit->machine->call(command.id, command.frame, patience);
    } catch (Failure const& thrown) {
        failure = thrown;
    }
    if (failure && failure->code == ErrorCode::rateLimited) { // Nothing was sent.
        store.requeueCommand(command.id);
        open.release();
        co_await retryLater(visit, std::move(command));
        co_return;
    }
    if (failure) {
        report(command, began, failure->code);
        end(command, CommandStatus::running, failedWith(*failure));
        co_return;
    }
    auto const code = errorCodeOf(reply->value.get_object());
    if (code && MethodRules::wasNotStarted(command.method, *code)) {
        store.requeueCommand(command.id);
        visits.end(visit);
        co_return;
    }
    report(command, began, code);
    CommandEnd const ended = co_await endOf(*std::move(reply));
    end(command, CommandStatus::running, ended);
}

void QueueRunner::report(StoredCommand const& command, Instant began, std::optional<ErrorCode> error)
{
    CommandMeasure measure(
        metrics, clock,
        {.method = command.method, .requestId = command.id, .connectionId = command.connectionId}, began);
    if (error)
        measure.failed(*error);
    else
        measure.ended(CommandReport::End::done);
}

/// Puts a command that was not sent back to the front.
Task<> QueueRunner::retryLater(QueueVisits::Visit visit, StoredCommand command)
{
    if (command.expiresAt <= clock.date())
        co_return;
    visit->accepted[command.connectionId].push_front(command.id);
    co_await clock.sleep(crowdedPause);
}

Task<CommandEnd> QueueRunner::endOf(MachineMessage reply)
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

void QueueRunner::end(StoredCommand const& command, CommandStatus status, CommandEnd const& end)
{
    store.endCommand(command.id, status, end, clock.date());
    store.trimEndedCommands(command.connectionId, settings.limits.endedCommands, settings.limits.endedBytes);
}

void QueueRunner::deny(std::string const& id)
{
    Failure const denied{.code = ErrorCode::deniedByUser, .message = "The user denied the action"};
    if (auto const command = store.command(id))
        end(*command, CommandStatus::queued, failedWith(denied));
}

} // namespace zelvo::service
