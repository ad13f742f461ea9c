#include "ZelvoGateway/machines/MachineReply.h"

namespace zelvo::service {

std::optional<ErrorCode> errorCodeOf(json::object const& reply)
{
    json::object const* const error = read::object(reply, "error");
    if (!error)
        return std::nullopt;
    return fromRawValue<ErrorCode>(read::text(*error, "code").value_or(""))
        .value_or(ErrorCode::internalError);
}

std::optional<Failure> failureIn(std::string const& requestId, json::object const& reply)
{
    json::object const* const error = read::object(reply, "error");
    if (!error && reply.contains("result"))
        return std::nullopt;
    if (!error)
        return Failure{.code = ErrorCode::internalError,
                       .message = "The machine's answer was no answer",
                       .requestId = requestId};
    Failure failure;
    failure.code = *errorCodeOf(reply);
    failure.message = read::text(*error, "message").value_or("The machine reported a failure");
    failure.requestId = requestId;
    if (json::object const* const details = read::object(*error, "details"))
        failure.details = *details;
    return failure;
}

bool isNotReady(std::optional<ErrorCode> code)
{
    return code == ErrorCode::machinePaused || code == ErrorCode::machineUnavailable;
}

} // namespace zelvo::service
