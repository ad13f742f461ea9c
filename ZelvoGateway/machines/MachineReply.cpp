#include "ZelvoGateway/machines/MachineReply.h"

#include "ZelvoGateway/base/Settings.h"
#include "base/Text.h"

#include <algorithm>

namespace zelvo::service {

namespace {

// An error is kept, queued and answered without a share of the memory budget, so it has to be small.
constexpr std::size_t maxDetails = 64_KiB;
constexpr std::size_t maxMessage = 4_KiB;

bool takes(std::size_t& room, std::size_t bytes)
{
    room = room > bytes ? room - bytes : 0;
    return room > 0;
}

/// Takes the memory of a value from the room; false if there is too little.
bool takes(std::size_t& room, json::value const& value)
{
    if (!takes(room, sizeof value))
        return false;
    if (json::string const* const text = value.if_string())
        return takes(room, text->size());
    if (json::array const* const list = value.if_array())
        return std::ranges::all_of(*list, [&](json::value const& item) { return takes(room, item); });
    if (json::object const* const object = value.if_object())
        return std::ranges::all_of(*object, [&](json::key_value_pair const& entry) {
            return takes(room, entry.key().size()) && takes(room, entry.value());
        });
    return true;
}

bool isSmall(json::value const& details)
{
    std::size_t room = maxDetails;
    return takes(room, details);
}

std::string messageOf(json::object const& error)
{
    json::value const* const message = error.if_contains("message");
    if (!message || !message->is_string())
        return "The machine reported a failure";
    return std::string(text::prefixOfBytes(message->get_string(), maxMessage));
}

} // namespace

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
    failure.message = messageOf(*error);
    failure.requestId = requestId;
    json::value const* const details = error->if_contains("details");
    if (details && details->is_object() && isSmall(*details))
        failure.details = details->get_object();
    return failure;
}

bool isNotReady(std::optional<ErrorCode> code)
{
    return code == ErrorCode::machinePaused || code == ErrorCode::machineUnavailable;
}

} // namespace zelvo::service
