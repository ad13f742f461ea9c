#include "ZelvoGateway/mcp/McpClient.h"

#include "ZelvoGateway/mcp/McpResults.h"
#include "base/Text.h"

namespace zelvo::service {

namespace {

constexpr char const* versionKey = "io.modelcontextprotocol/protocolVersion";
constexpr char const* capabilitiesKey = "io.modelcontextprotocol/clientCapabilities";
constexpr char const* clientKey = "io.modelcontextprotocol/clientInfo";
constexpr std::size_t maxName = 100; // characters

JsonRpcError badParams(std::string message)
{
    return {.code = JsonRpcCode::invalidParams, .message = std::move(message)};
}

/// A client's own name for itself: the one for people if it has one.
std::string nameOf(json::object const* client)
{
    if (!client)
        return "";
    auto const title = read::text(*client, "title");
    return text::shownInLine(title ? *title : read::text(*client, "name").value_or(""), maxName);
}

std::optional<JsonRpcId> idAt(json::object const& object, std::string_view key)
{
    if (auto text = read::text(object, key))
        return *std::move(text);
    if (auto const number = read::integer(object, key))
        return *number;
    return std::nullopt;
}

} // namespace

bool saysItsVersion(JsonRpcRequest const& request)
{
    json::object const* const meta = read::object(request.params, "_meta");
    return meta && meta->contains(versionKey);
}

std::optional<std::string> versionOf(JsonRpcRequest const& request)
{
    json::object const* const meta = read::object(request.params, "_meta");
    return meta ? read::text(*meta, versionKey) : std::nullopt;
}

McpClient clientOfRequest(JsonRpcRequest const& request)
{
    json::object const* const meta = read::object(request.params, "_meta");
    auto const wanted = versionOf(request);
    if (!wanted)
        throw badParams(R"("_meta" must have the text ")" + std::string(versionKey) + "\"");
    auto const version = fromRawValue<McpVersion>(*wanted);
    if (!version || isLegacy(*version))
        throw unsupportedVersion(*wanted);
    if (!read::object(*meta, capabilitiesKey))
        throw badParams(R"("_meta" must have the object ")" + std::string(capabilitiesKey) + "\"");
    return {.version = *version, .name = nameOf(read::object(*meta, clientKey))};
}

McpClient clientOfHandshake(JsonRpcRequest const& initialize)
{
    auto const wanted = read::text(initialize.params, "protocolVersion");
    if (!wanted)
        throw badParams(R"("protocolVersion" must be a text)");
    for (char const* const key : {"capabilities", "clientInfo"})
        if (initialize.params.contains(key) && !read::object(initialize.params, key))
            throw badParams("\"" + std::string(key) + "\" must be an object");
    auto const version = fromRawValue<McpVersion>(*wanted);
    return {.version = version && isLegacy(*version) ? *version : newestLegacyVersion,
            .name = nameOf(read::object(initialize.params, "clientInfo"))};
}

std::optional<JsonRpcId> progressTokenOf(JsonRpcRequest const& request)
{
    json::object const* const meta = read::object(request.params, "_meta");
    return meta ? idAt(*meta, "progressToken") : std::nullopt;
}

std::optional<JsonRpcId> cancelledRequestOf(JsonRpcNotification const& notification)
{
    return idAt(notification.params, "requestId");
}

} // namespace zelvo::service
