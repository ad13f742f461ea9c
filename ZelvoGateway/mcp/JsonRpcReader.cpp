#include "ZelvoGateway/mcp/JsonRpcReader.h"

#include <string>
#include <utility>

namespace zelvo::service {

namespace {

JsonRpcFault faultOf(JsonRpcCode code, std::string message, std::optional<JsonRpcId> id = std::nullopt)
{
    return {.id = std::move(id), .error = {.code = code, .message = std::move(message)}};
}

JsonRpcDocument refused(JsonRpcCode code, std::string message)
{
    return {.messages = {faultOf(code, std::move(message))}};
}

/// Measures a value, and stops at the first limit that is exceeded.
class Measure {
public:
    explicit Measure(JsonRpcLimits const& limits) : limits(limits) {}

    bool isWithin(json::value const& value, std::size_t depth = 0)
    {
        if (++values > limits.values)
            return false;
        if (auto const* const object = value.if_object()) {
            if (depth == limits.depth)
                return false;
            for (auto const& member : *object)
                if (!isWithin(member.value(), depth + 1))
                    return false;
        } else if (auto const* const array = value.if_array()) {
            if (depth == limits.depth)
                return false;
            for (json::value const& item : *array)
                if (!isWithin(item, depth + 1))
                    return false;
        }
        return true;
    }

private:
    JsonRpcLimits const& limits;
    std::size_t values = 0;
};

std::optional<JsonRpcId> idOf(json::object const& object, std::size_t maxBytes)
{
    json::value const* const id = object.if_contains("id");
    if (id && id->is_int64())
        return id->get_int64();
    if (id && id->is_string() && id->get_string().size() <= maxBytes)
        return std::string(id->get_string());
    return std::nullopt;
}

JsonRpcMessage messageOf(json::value& value, JsonRpcLimits const& limits)
{
    using enum JsonRpcCode;
    json::object* const object = value.if_object();
    if (!object)
        return faultOf(invalidRequest, "A message must be an object");
    std::optional<JsonRpcId> id = idOf(*object, limits.idBytes);
    if (read::text(*object, "jsonrpc") != "2.0")
        return faultOf(invalidRequest, R"("jsonrpc" must be "2.0")", std::move(id));
    if (!object->contains("method") && (object->contains("result") || object->contains("error")))
        return JsonRpcReply{};
    auto method = read::text(*object, "method");
    if (!method)
        return faultOf(invalidRequest, R"("method" must be a text)", std::move(id));
    if (object->contains("id") && !id)
        return faultOf(invalidRequest, R"("id" must be an integer or a text of at most )" +
                                           std::to_string(limits.idBytes) + " bytes");
    json::value* const params = object->if_contains("params");
    bool const hasObject = params && params->is_object();
    if (id && params && !hasObject)
        return faultOf(invalidParams, R"("params" must be an object)", std::move(id));
    json::object taken = hasObject ? std::move(params->get_object()) : json::object();
    if (id)
        return JsonRpcRequest{.id = *std::move(id), .method = *std::move(method), .params = std::move(taken)};
    return JsonRpcNotification{.method = *std::move(method), .params = std::move(taken)};
}

JsonRpcDocument batchOf(json::array& array, JsonRpcLimits const& limits)
{
    if (array.empty())
        return refused(JsonRpcCode::invalidRequest, "A batch must not be empty");
    if (array.size() > limits.messages)
        return refused(JsonRpcCode::invalidRequest,
                       "A batch must have at most " + std::to_string(limits.messages) + " messages");
    JsonRpcDocument document{.isBatch = true};
    for (json::value& item : array)
        document.messages.push_back(messageOf(item, limits));
    return document;
}

} // namespace

JsonRpcDocument readJsonRpc(std::string_view text, JsonRpcLimits const& limits)
{
    if (text.size() > limits.bytes)
        return refused(JsonRpcCode::invalidRequest,
                       "A message must have at most " + std::to_string(limits.bytes) + " bytes");
    std::optional<json::value> parsed = parseJson(text);
    if (!parsed)
        return refused(JsonRpcCode::parseError, "The message is not JSON in UTF-8");
    if (!Measure(limits).isWithin(*parsed))
        return refused(JsonRpcCode::invalidRequest, "A message must have at most " +
                                                        std::to_string(limits.values) + " values and " +
                                                        std::to_string(limits.depth) + " levels");
    if (json::array* const array = parsed->if_array())
        return batchOf(*array, limits);
    return {.messages = {messageOf(*parsed, limits)}};
}

} // namespace zelvo::service
