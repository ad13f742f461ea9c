#include "ZelvoGateway/mcp/JsonRpc.h"

#include <utility>

namespace zelvo::service {

namespace {

json::object newMessage()
{
    return {{"jsonrpc", "2.0"}};
}

void setId(json::object& message, JsonRpcId const& id)
{
    std::visit([&](auto const& value) { message["id"] = value; }, id);
}

} // namespace

json::object resultMessage(JsonRpcId const& id, json::object result)
{
    json::object message = newMessage();
    setId(message, id);
    message.emplace("result", std::move(result));
    return message;
}

json::object errorMessage(std::optional<JsonRpcId> const& id, JsonRpcError error)
{
    json::object content{{"code", static_cast<std::int64_t>(error.code)}, {"message", error.message}};
    if (error.data)
        content.emplace("data", *std::move(error.data));
    json::object message = newMessage();
    if (id)
        setId(message, *id);
    message.emplace("error", std::move(content));
    return message;
}

json::object notificationMessage(std::string_view method, json::object params)
{
    json::object message = newMessage();
    message["method"] = method;
    message.emplace("params", std::move(params));
    return message;
}

} // namespace zelvo::service
