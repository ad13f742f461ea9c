#pragma once

#include "HttpLine.h"
#include "wire/Json.h"

#include <cstdint>
#include <string>

namespace zelvo {

/// Calls one tool of the gateway over an HTTP connection that stays open.
class McpLine {
public:
    /// authorization   "Authorization: Bearer KEY"
    McpLine(std::uint16_t port,
            std::string const& connection,
            std::string const& authorization,
            std::string tool);

    /// The whole answer as it came. Throws std::runtime_error if its status is not 200.
    std::string const& call(json::object const& arguments);
    /// The text that the tool answers with. Throws std::runtime_error if the tool failed.
    std::string textOf(json::object const& arguments);

private:
    std::string tool;
    HttpLine line;
};

} // namespace zelvo
