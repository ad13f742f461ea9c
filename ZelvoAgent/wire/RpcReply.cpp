#include "wire/RpcReply.h"

#include "wire/records/Frames.h"

namespace zelvo {

RpcReply RpcReply::result(std::string id, json::value value)
{
    records::RPCResponse response{.id = std::move(id), .result = std::move(value)};
    return {records::toJson(std::move(response))};
}

RpcReply RpcReply::failure(std::string id,
                           AgentError error,
                           std::optional<std::map<std::string, std::string>> details,
                           std::optional<std::string> message)
{
    records::RPCResponseError failure{.code = std::string(rawValue(error)),
                                      .message = message.value_or(std::string(defaultMessage(error)))};
    if (details)
        failure.details = std::move(records::toJson(*details).get_object());
    records::RPCResponse response{.id = std::move(id), .error = std::move(failure)};
    return {records::toJson(std::move(response))};
}

} // namespace zelvo
