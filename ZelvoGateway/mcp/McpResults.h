#pragma once

#include "ZelvoGateway/mcp/JsonRpc.h"
#include "ZelvoGateway/mcp/McpTool.h"
#include "ZelvoGateway/mcp/McpVersion.h"

#include <string_view>

namespace zelvo::service {

/// The results of requests, in the shape of the client's version.
json::object initializeResult(McpServer const& server, McpVersion version);
json::object discoverResult(McpServer const& server);
json::object toolListResult(McpServer const& server, McpVersion version);
json::object toolResult(McpServer const& server, McpVersion version, McpToolResult result);

/// The refusal of a version, which lists those that a client can choose from.
JsonRpcError unsupportedVersion(std::string_view requested);

} // namespace zelvo::service
