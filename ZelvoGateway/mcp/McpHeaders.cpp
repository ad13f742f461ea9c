#include "ZelvoGateway/mcp/McpHeaders.h"

#include "ZelvoGateway/mcp/McpClient.h"
#include "base/Base64.h"

#include <string_view>

namespace zelvo::service {

namespace {

JsonRpcError mismatch(std::string_view header)
{
    return {.code = JsonRpcCode::headerMismatch,
            .message = "Header mismatch: \"" + std::string(header) + "\" does not repeat the body"};
}

/// A header's text: as it is, or in the form =?base64?...?= for what a header cannot hold.
std::optional<std::string> decoded(std::string const& header)
{
    constexpr std::string_view prefix = "=?base64?";
    constexpr std::string_view suffix = "?=";
    std::string_view text = header;
    if (text.size() < prefix.size() + suffix.size() || !text.starts_with(prefix) || !text.ends_with(suffix))
        return header;
    text.remove_prefix(prefix.size());
    text.remove_suffix(suffix.size());
    return base64::decode(text);
}

bool isStatelessVersion(std::optional<std::string> const& version)
{
    auto const known = version ? fromRawValue<McpVersion>(*version) : std::nullopt;
    return known && !isLegacy(*known);
}

} // namespace

std::optional<JsonRpcError> headerProblem(McpHeaders const& headers, JsonRpcRequest const& request)
{
    constexpr std::string_view versionHeader = "MCP-Protocol-Version";
    if (!saysItsVersion(request)) {
        if (!isStatelessVersion(headers.version))
            return std::nullopt;
        return JsonRpcError{.code = JsonRpcCode::invalidParams,
                            .message = R"("_meta" must say the version that the header says)"};
    }
    if (!headers.version || headers.version != versionOf(request))
        return mismatch(versionHeader);
    if (headers.method != request.method)
        return mismatch("Mcp-Method");
    if (request.method != "tools/call")
        return std::nullopt;
    auto const name = headers.name ? decoded(*headers.name) : std::nullopt;
    if (!name || name != read::text(request.params, "name"))
        return mismatch("Mcp-Name");
    return std::nullopt;
}

std::optional<JsonRpcError> headerProblem(McpHeaders const& headers, JsonRpcNotification const& notification)
{
    if (isStatelessVersion(headers.version) && headers.method != notification.method)
        return mismatch("Mcp-Method");
    return std::nullopt;
}

} // namespace zelvo::service
