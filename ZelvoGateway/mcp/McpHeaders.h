#pragma once

#include "ZelvoGateway/mcp/JsonRpc.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// The headers of an HTTP request that repeat what its body says, for those who route requests without
/// reading bodies. `nullopt` if one is missing.
struct McpHeaders {
    std::optional<std::string> version = {}; ///< "MCP-Protocol-Version"
    std::optional<std::string> method = {};  ///< "Mcp-Method"
    std::optional<std::string> name = {};    ///< "Mcp-Name": of a tool
};

/// Why the headers contradict the body, or lack what they must repeat. The rules hold for requests that say
/// their version themselves; headers of other requests are not looked at, unless they claim such a version.
std::optional<JsonRpcError> headerProblem(McpHeaders const& headers, JsonRpcRequest const& request);
/// The same for a notification, whose headers claim a version without a handshake.
std::optional<JsonRpcError> headerProblem(McpHeaders const& headers, JsonRpcNotification const& notification);

} // namespace zelvo::service
