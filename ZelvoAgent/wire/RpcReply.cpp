#include "wire/RpcReply.h"

namespace zelvo {

RpcReply RpcReply::result(std::string id, json::value value)
{
    RpcReply reply;
    reply.payload.emplace("id", std::move(id));
    reply.payload.emplace("result", std::move(value));
    return reply;
}

RpcReply RpcReply::failure(std::string id,
                           AgentError error,
                           std::optional<std::map<std::string, std::string>> details,
                           std::optional<std::string> message)
{
    json::object body;
    body["code"] = rawValue(error);
    body["message"] = message ? *message : std::string(defaultMessage(error));
    if (details) {
        json::object texts;
        for (auto const& [key, text] : *details)
            texts[key] = text;
        body["details"] = std::move(texts);
    }
    RpcReply reply;
    reply.payload.emplace("id", std::move(id));
    reply.payload.emplace("error", std::move(body));
    return reply;
}

} // namespace zelvo
