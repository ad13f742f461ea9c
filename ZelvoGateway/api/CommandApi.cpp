#include "ZelvoGateway/api/CommandApi.h"

#include "ZelvoGateway/api/CommandBody.h"
#include "ZelvoGateway/api/MethodSchemas.h"
#include "ZelvoGateway/base/JsonWork.h"
#include "base/DateText.h"

namespace zelvo::service {

namespace {

/// The text of a QueuedCommand. Result and error are JSON already and may be large, so they are copied as
/// they are.
std::string recordText(StoredCommand const& command)
{
    std::string text = R"({"commandId":")" + command.id + R"(","expiresAt":")" +
                       dates::iso8601(command.expiresAt) + R"(","status":")" +
                       std::string(rawValue(command.status)) + "\"";
    if (command.error)
        text += ",\"error\":" + *command.error;
    if (command.result)
        text += ",\"result\":" + *command.result;
    return text + "}";
}

} // namespace

std::vector<Route> CommandApi::routes()
{
    std::vector<std::string_view> const all{"v1", "connections", "*", "commands"};
    std::vector<std::string_view> const one{"v1", "connections", "*", "commands", "*"};
    MethodSchemas const methods = methodSchemas();
    Describe const run =
        Describe("runCommand", "Runs a command on a machine, or queues it")
            .at({"connectionId"})
            .takes(methods.body, methods.schemas)
            .gives("The command's result", methods.result)
            .gives<records::QueuedCommand>("The command was queued", 202)
            .fails({ErrorCode::notFound, ErrorCode::agentPaused, ErrorCode::appNotFrontmost,
                    ErrorCode::confirmationTimeout, ErrorCode::deniedByUser, ErrorCode::hiddenAppActive,
                    ErrorCode::internalError, ErrorCode::machineBusy, ErrorCode::machineOffline,
                    ErrorCode::machinePaused, ErrorCode::machineUnavailable, ErrorCode::permissionMissing,
                    ErrorCode::scopeDenied, ErrorCode::snapshotExpired, ErrorCode::timeout,
                    ErrorCode::zelvoUIProtected});
    Describe const state = Describe("getCommand", "Shows a queued command, with its result once it has ended")
                               .at({"connectionId", "commandId"})
                               .gives<records::QueuedCommand>("The command")
                               .fails({ErrorCode::notFound});
    Describe const cancel = Describe("cancelCommand", "Cancels a queued command that has not begun")
                                .at({"connectionId", "commandId"})
                                .gives<records::QueuedCommand>("The cancelled command")
                                .fails({ErrorCode::notFound})
                                .conflicts();
    return {endpoints.platform("POST", all, limits.commandBody, *this, &CommandApi::handleRun, run),
            endpoints.platform("GET", one, limits.smallBody, *this, &CommandApi::handleState, state),
            endpoints.platform("DELETE", one, limits.smallBody, *this, &CommandApi::handleCancel, cancel)};
}

Task<HttpResponse> CommandApi::handleRun(HttpRequest request, PathIds ids)
{
    std::string const connectionId = std::move(ids.front());
    Caller caller = access.callerOf(request);
    commands.assertExists(caller, connectionId); // Before the body is read: a large one takes time.
    std::size_t const bytes = request.body.size();
    PlatformCommand command = co_await commandIn(workers, std::move(request.body));
    command.requestId = request.header("x-request-id");
    CommandOutcome outcome =
        co_await commands.run(std::move(caller), connectionId, std::move(command), bytes);
    if (auto const* const queued = std::get_if<StoredCommand>(&outcome))
        co_return HttpResponse{.status = 202, .body = recordText(*queued)};
    co_return co_await responseOf(std::get<CommandResult>(std::move(outcome)));
}

/// The body ends here: a large one is not kept while the machine works.
Task<PlatformCommand> CommandApi::commandIn(Executor workers, std::string body)
{
    auto parsed = co_await parseOn(workers, body);
    json::object* const object = parsed ? parsed->if_object() : nullptr;
    if (!object)
        throw badRequest("The body must be a JSON object");
    co_return readCommand(std::move(*object));
}

Task<HttpResponse> CommandApi::responseOf(CommandResult result)
{
    json::object answer;
    answer.emplace("result", std::move(result.value));
    json::value value(std::move(answer));
    HttpResponse response;
    response.body = co_await writeOn(workers, std::move(value), result.bytes);
    response.memory = std::move(result.memory);
    co_return response;
}

Task<HttpResponse> CommandApi::handleState(HttpRequest request, PathIds ids)
{
    co_return recordResponse(commands.state(access.callerOf(request), ids.front(), ids.back()));
}

Task<HttpResponse> CommandApi::handleCancel(HttpRequest request, PathIds ids)
{
    co_return recordResponse(commands.cancel(access.callerOf(request), ids.front(), ids.back()));
}

HttpResponse CommandApi::recordResponse(StoredCommand const& command)
{
    HttpResponse response;
    response.body = recordText(command);
    if (!memory.grow(response.memory, response.body.size()))
        throw HttpError{.status = 429,
                        .code = ErrorCode::rateLimited,
                        .message = "Too many large bodies at this time",
                        .limit = Refusal::memory};
    return response;
}

} // namespace zelvo::service
