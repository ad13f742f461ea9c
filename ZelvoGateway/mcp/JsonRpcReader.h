#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/mcp/JsonRpc.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// Bounds of what a client may send at once.
struct JsonRpcLimits {
    std::size_t bytes = 16_MiB;
    std::size_t depth = 64; ///< of lists and objects in one another
    std::size_t values = 100'000;
    std::size_t messages = 100; ///< in a batch
    std::size_t idBytes = 200;
};

/// What a client sent in one piece: one message, or a batch.
struct JsonRpcDocument {
    std::vector<JsonRpcMessage> messages; ///< never empty
    bool isBatch = false;
    bool operator==(JsonRpcDocument const&) const = default;
};

/// Reads a client's text. Whatever cannot be used is in it as a JsonRpcFault, alone if the text as a whole is
/// at fault. Members that JSON-RPC does not define are ignored.
/// Thread: any. It is pure, so that a long text can be read on the workers.
JsonRpcDocument readJsonRpc(std::string_view text, JsonRpcLimits const& limits = {});

} // namespace zelvo::service
