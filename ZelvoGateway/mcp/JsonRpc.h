#pragma once

#include "wire/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace zelvo::service {

/// Error codes of JSON-RPC 2.0, and those that the Model Context Protocol adds.
enum class JsonRpcCode {
    parseError = -32700,
    invalidRequest = -32600,
    methodNotFound = -32601,
    invalidParams = -32602,
    internalError = -32603,
    headerMismatch = -32020,
    missingCapability = -32021,
    unsupportedVersion = -32022,
};

/// The id of a request. The protocol allows texts and integers, and no null.
using JsonRpcId = std::variant<std::int64_t, std::string>;

/// Why a request fails. Handlers throw it; the session makes the reply of it.
struct JsonRpcError {
    JsonRpcCode code = JsonRpcCode::internalError;
    std::string message;
    std::optional<json::value> data = {};
    bool operator==(JsonRpcError const&) const = default;
};

struct JsonRpcRequest {
    JsonRpcId id;
    std::string method;
    json::object params;
    bool operator==(JsonRpcRequest const&) const = default;
};

struct JsonRpcNotification {
    std::string method;
    json::object params;
    bool operator==(JsonRpcNotification const&) const = default;
};

/// A client's reply. The gateway sends no requests, so what it says is of no use.
struct JsonRpcReply {
    bool operator==(JsonRpcReply const&) const = default;
};

/// A message that cannot be used. It is answered with the error.
struct JsonRpcFault {
    std::optional<JsonRpcId> id; ///< `nullopt` if the message has none that can be read
    JsonRpcError error;
    bool operator==(JsonRpcFault const&) const = default;
};

using JsonRpcMessage = std::variant<JsonRpcRequest, JsonRpcNotification, JsonRpcReply, JsonRpcFault>;

/// The messages that the gateway sends.
json::object resultMessage(JsonRpcId const& id, json::object result);
/// Without an id if that of the request could not be read.
json::object errorMessage(std::optional<JsonRpcId> const& id, JsonRpcError error);
json::object notificationMessage(std::string_view method, json::object params);

} // namespace zelvo::service
