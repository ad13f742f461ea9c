#include "ZelvoGateway/CommandService.h"

#include "ZelvoGateway/Failure.h"
#include "ZelvoGateway/Secrets.h"
#include "base/Hop.h"

#include <array>

namespace zelvo::service {

namespace {

constexpr std::size_t longText = 64_KiB;

/// The gateway's own messages to a machine. A machine answers them whatever the connection may do, and they
/// name other connections, so they are not for platforms to send.
constexpr std::array<std::string_view, 5> ownMethods = {"agents.update", "connection.revoke",
                                                        "connections.names", "heartbeat", "queue.offer"};

Failure failureOf(std::string const& requestId, json::object const& error)
{
    auto const code = fromRawValue<ErrorCode>(read::text(error, "code").value_or(""));
    Failure failure;
    failure.code = code.value_or(ErrorCode::internalError);
    failure.message = read::text(error, "message").value_or("The machine reported a failure");
    failure.requestId = requestId;
    if (json::object const* const details = read::object(error, "details"))
        failure.details = *details;
    return failure;
}

std::string methodOf(json::object const& command)
{
    auto const method = read::text(command, "method");
    if (!method || method->empty())
        throw Failure{.code = ErrorCode::invalidRequest, .message = "\"method\" must be a text"};
    if (std::ranges::find(ownMethods, *method) != ownMethods.end())
        throw Failure{.code = ErrorCode::forbidden,
                      .message = "\"" + *method + "\" is not for platforms to send"};
    return *method;
}

/// Moves a member that must be an object, when it is there, from one object to another.
void moveObject(json::object& from, std::string_view key, json::object& to)
{
    json::value* const value = from.if_contains(key);
    if (!value || value->is_null())
        return;
    if (!value->is_object())
        throw Failure{.code = ErrorCode::invalidRequest,
                      .message = "\"" + std::string(key) + "\" must be an object"};
    to.emplace(key, std::move(*value));
}

json::value frameOf(std::string const& requestId, std::string const& connectionId, json::object command)
{
    json::object frame;
    frame["id"] = requestId;
    frame["method"] = methodOf(command);
    frame["connectionId"] = connectionId;
    moveObject(command, "params", frame);
    moveObject(command, "agent", frame);
    return frame;
}

} // namespace

Task<std::optional<json::value>> parseOn(Executor workers, std::string_view text)
{
    if (text.size() <= longText)
        co_return parseJson(text);
    auto const parse = [text] { return parseJson(text); };
    co_return co_await on(workers, parse);
}

Task<std::string> writeOn(Executor workers, json::value value, std::size_t bytes)
{
    if (bytes <= longText)
        co_return writeJson(value);
    auto const write = [&value] { return writeJson(value); };
    co_return co_await on(workers, write);
}

std::shared_ptr<MachineSession> CommandService::machineOf(std::string const& connectionId)
{
    auto const connection = store.connection(connectionId);
    if (!connection || connection->revokedAt)
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such connection"};
    auto machine = machines.find(connection->machineId);
    if (!machine)
        throw Failure{.code = ErrorCode::machineOffline, .message = "The machine is not connected"};
    return machine;
}

Task<HttpResponse> CommandService::run(std::string connectionId, std::string body)
{
    machineOf(
        connectionId); // Before the body is looked at: nobody waits for the reading of what can't be sent.
    std::size_t const bytes = body.size();
    json::object command = co_await readBody(std::move(body));
    std::string const requestId = newId("req");
    json::value frame = frameOf(requestId, connectionId, std::move(command));
    std::string text = co_await writeOn(workers, std::move(frame), bytes);
    // Asked again, since the connection may have been revoked meanwhile.
    auto const machine = machineOf(connectionId);
    MachineMessage reply = co_await machine->call(requestId, std::move(text), settings.commandTimeout);
    co_return co_await responseOf(requestId, std::move(reply));
}

Task<json::object> CommandService::readBody(std::string body)
{
    auto parsed = co_await parseOn(workers, body);
    json::object* const object = parsed ? parsed->if_object() : nullptr;
    if (!object)
        throw Failure{.code = ErrorCode::invalidRequest, .message = "The body must be a JSON object"};
    co_return std::move(*object);
}

Task<HttpResponse> CommandService::responseOf(std::string requestId, MachineMessage reply)
{
    json::object& object = reply.value.get_object();
    if (json::object const* const error = read::object(object, "error"))
        throw failureOf(requestId, *error);
    json::value* const result = object.if_contains("result");
    if (!result)
        throw Failure{.code = ErrorCode::internalError,
                      .message = "The machine's answer was no answer",
                      .requestId = requestId};
    json::object answer;
    answer.emplace("result", std::move(*result));
    json::value value(std::move(answer));
    HttpResponse response;
    response.body = co_await writeOn(workers, std::move(value), reply.bytes);
    response.memory = std::move(reply.memory);
    co_return response;
}

} // namespace zelvo::service
