#pragma once

#include "ZelvoGateway/mcp/JsonRpc.h"
#include "ZelvoGateway/mcp/McpVersion.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// Who sends a request, and in which version of the protocol.
struct McpClient {
    McpVersion version = newestLegacyVersion;
    std::string name; ///< as the client gives it, for people; may be empty
};

/// Whether a request says its version itself, as since July 2026, instead of following a handshake.
bool saysItsVersion(JsonRpcRequest const& request);

/// That version as it is written; `nullopt` if it is missing or no text.
std::optional<std::string> versionOf(JsonRpcRequest const& request);

/// The client of a request that says its version itself. Throws JsonRpcError.
McpClient clientOfRequest(JsonRpcRequest const& request);

/// The client of a handshake. An unknown version becomes the newest one with a handshake, which the client
/// may accept or not. Throws JsonRpcError.
McpClient clientOfHandshake(JsonRpcRequest const& initialize);

/// What the client wants its progress notifications to be marked with.
std::optional<JsonRpcId> progressTokenOf(JsonRpcRequest const& request);

/// The request that "notifications/cancelled" is about.
std::optional<JsonRpcId> cancelledRequestOf(JsonRpcNotification const& notification);

} // namespace zelvo::service
