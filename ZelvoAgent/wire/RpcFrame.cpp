#include "wire/RpcFrame.h"

#include "wire/LongText.h"

namespace zelvo {

namespace {

constexpr std::string_view contentKey = "data";

std::optional<RpcFrame> frameOf(std::optional<json::value> parsed)
{
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

} // namespace

std::optional<RpcFrame> parseFrame(std::string_view text)
{
    return frameOf(parseJson(text));
}

std::optional<RpcFrame> takeFrame(std::string text)
{
    LongText content{.outer = "params", .inner = contentKey};
    std::optional<RpcFrame> frame = frameOf(parseJsonAround(text, content));
    json::value* const place = frame ? frame->params.if_contains(contentKey) : nullptr;
    if (!place || !place->is_uint64())
        return frame;
    if (frame->method == "files.upload.begin") {
        frame->params.erase(contentKey);
        text.resize(content.offset + content.bytes);
        text.erase(0, content.offset);
        frame->data = std::move(text);
    } else {
        place->emplace_string() = std::string_view(text).substr(content.offset, content.bytes);
    }
    return frame;
}

std::string writeFrame(RpcFrame const& frame)
{
    json::object object{{"id", frame.id}, {"method", frame.method}, {"params", frame.params}};
    if (!frame.data.empty())
        object["params"].as_object()[contentKey] = frame.data;
    if (frame.connectionId)
        object["connectionId"] = *frame.connectionId;
    if (frame.agentName)
        object["agent"] = json::object{{"name", *frame.agentName}};
    return writeJson(object);
}

} // namespace zelvo
