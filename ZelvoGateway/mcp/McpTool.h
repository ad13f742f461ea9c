#pragma once

#include "wire/Json.h"

#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// What a client may tell a person about a tool before it calls it.
struct McpHints {
    bool isReadOnly = false;
    bool isDestructive = false;
    bool isIdempotent = false;
    bool reachesOpenWorld = false;
};

/// A tool as "tools/list" describes it.
struct McpTool {
    std::string name;
    std::string title;       ///< for people
    std::string description; ///< for models
    json::object inputSchema;
    McpHints hints;
};

/// Every hint is said, true or false, because the protocol's defaults assume the worst.
json::object toJson(McpTool const& tool);

/// A piece of a tool's answer.
struct McpContent {
    std::string text;
    std::string mimeType = {}; ///< of a picture; `text` is then its file in base64. Empty for a text
};

/// What a tool answers. A failure that a model can act upon is an answer with `isError`, too.
struct McpToolResult {
    std::vector<McpContent> content;
    bool isError = false;
    std::optional<json::object> structured = {};
};

/// The server that clients see.
struct McpServer {
    std::string name;
    std::string title;
    std::string version;
    std::string instructions; ///< for models: how to use the tools
    std::vector<McpTool> tools;

    /// Null if there is no such tool.
    McpTool const* find(std::string_view tool) const;
};

} // namespace zelvo::service
