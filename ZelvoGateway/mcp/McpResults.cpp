#include "ZelvoGateway/mcp/McpResults.h"

#include "base/Text.h"

#include <utility>

namespace zelvo::service {

namespace {

constexpr std::int64_t listLifetimeMs = 300'000; // A new version of the gateway may have other tools.
constexpr std::size_t maxShownVersion = 40;      // characters

json::object identity(McpServer const& server)
{
    return {{"name", server.name}, {"title", server.title}, {"version", server.version}};
}

/// Does not say that the list of tools changes, because it does not.
json::object capabilities()
{
    return {{"tools", json::object()}};
}

/// The newest first, since clients take the first one that they know.
json::array versions()
{
    json::array list;
    auto const& texts = EnumTexts<McpVersion>::texts;
    for (auto text = texts.rbegin(); text != texts.rend(); ++text)
        list.emplace_back(*text);
    return list;
}

/// Adds what every result has since July 2026.
json::object completed(McpServer const& server, McpVersion version, json::object result)
{
    if (isLegacy(version))
        return result;
    result["resultType"] = "complete";
    result["_meta"] = json::object{{"io.modelcontextprotocol/serverInfo", identity(server)}};
    return result;
}

/// Adds how long a client may keep a result. Private, because keys may reach different machines.
json::object cacheable(McpVersion version, json::object result)
{
    if (isLegacy(version))
        return result;
    result["ttlMs"] = listLifetimeMs;
    result["cacheScope"] = "private";
    return result;
}

json::object toJson(McpContent content)
{
    if (content.mimeType.empty())
        return {{"type", "text"}, {"text", std::move(content.text)}};
    return {{"type", "image"}, {"data", std::move(content.text)}, {"mimeType", content.mimeType}};
}

} // namespace

json::object initializeResult(McpServer const& server, McpVersion version)
{
    return {{"protocolVersion", rawValue(version)},
            {"capabilities", capabilities()},
            {"serverInfo", identity(server)},
            {"instructions", server.instructions}};
}

json::object discoverResult(McpServer const& server)
{
    json::object result{{"supportedVersions", versions()},
                        {"capabilities", capabilities()},
                        {"instructions", server.instructions}};
    return completed(server, McpVersion::july2026, cacheable(McpVersion::july2026, std::move(result)));
}

json::object toolListResult(McpServer const& server, McpVersion version)
{
    json::array tools;
    for (McpTool const& tool : server.tools)
        tools.emplace_back(toJson(tool));
    json::object result;
    result.emplace("tools", std::move(tools));
    return completed(server, version, cacheable(version, std::move(result)));
}

json::object toolResult(McpServer const& server, McpVersion version, McpToolResult result)
{
    json::array content;
    for (McpContent& piece : result.content)
        content.emplace_back(toJson(std::move(piece)));
    json::object object;
    object.emplace("content", std::move(content));
    object["isError"] = result.isError;
    if (result.structured)
        object.emplace("structuredContent", *std::move(result.structured));
    return completed(server, version, std::move(object));
}

JsonRpcError unsupportedVersion(std::string_view requested)
{
    json::object data{{"supported", versions()},
                      {"requested", text::shownInLine(requested, maxShownVersion)}};
    return {.code = JsonRpcCode::unsupportedVersion,
            .message = "Unsupported protocol version",
            .data = std::move(data)};
}

} // namespace zelvo::service
