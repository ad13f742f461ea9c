#include "wire/RpcFrame.h"

namespace zelvo {

std::optional<RpcFrame> parseFrame(std::string_view text)
{
    std::optional<json::value> parsed = parseJson(text);
    json::object* const object = parsed ? parsed->if_object() : nullptr;
    if (!object)
        return std::nullopt;
    auto id = read::text(*object, "id");
    auto method = read::text(*object, "method");
    if (!id || !method)
        return std::nullopt;
    RpcFrame frame;
    frame.id = *std::move(id);
    frame.method = *std::move(method);
    frame.connectionId = read::text(*object, "connectionId");
    if (json::object const* const agent = read::object(*object, "agent"))
        frame.agentName = read::text(*agent, "name");
    if (json::value* const params = object->if_contains("params"); params && params->is_object())
        frame.params = std::move(params->get_object());
    return frame;
}

std::string writeFrame(RpcFrame const& frame)
{
    json::object object{{"id", frame.id}, {"method", frame.method}, {"params", frame.params}};
    if (frame.connectionId)
        object["connectionId"] = *frame.connectionId;
    if (frame.agentName)
        object["agent"] = json::object{{"name", *frame.agentName}};
    return writeJson(object);
}

} // namespace zelvo
