#pragma once

#include "ZelvoGateway/base/Caller.h"
#include "ZelvoGateway/http/HttpMessage.h"

#include <compare>
#include <optional>
#include <string>
#include <tuple>

namespace zelvo::service {

/// What a client asked for by its address: "/mcp/CONNECTION?width=1280&tools=computer".
struct McpAddress {
    static constexpr int minWidth = 320;
    static constexpr int maxWidth = 3840;

    std::string connection = {};   ///< empty at "/mcp", which reaches every machine of the key
    std::optional<int> width = {}; ///< of pictures, in pixels
    bool hasComputerTool = false;  ///< "tools=computer"
    auto operator<=>(McpAddress const&) const = default;
};

/// Who a client is, and where it connected. Targets are the same if key and address are.
struct McpTarget {
    Caller caller;
    McpAddress address;

    auto operator<=>(McpTarget const& other) const
    {
        return std::tie(caller.keyId, address) <=> std::tie(other.caller.keyId, other.address);
    }
    bool operator==(McpTarget const& other) const { return (*this <=> other) == 0; }
};

/// The address of a request to "/mcp" or "/mcp/CONNECTION". Throws HttpError if a switch is not known or has
/// no usable value.
McpAddress mcpAddressOf(HttpRequest const& request);

} // namespace zelvo::service
