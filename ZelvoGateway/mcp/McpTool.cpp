#include "ZelvoGateway/mcp/McpTool.h"

#include <algorithm>

namespace zelvo::service {

json::object toJson(McpTool const& tool)
{
    json::object const hints{{"readOnlyHint", tool.hints.isReadOnly},
                             {"destructiveHint", tool.hints.isDestructive},
                             {"idempotentHint", tool.hints.isIdempotent},
                             {"openWorldHint", tool.hints.reachesOpenWorld}};
    return {{"name", tool.name},
            {"title", tool.title},
            {"description", tool.description},
            {"inputSchema", tool.inputSchema},
            {"annotations", hints}};
}

McpTool const* McpServer::find(std::string_view tool) const
{
    auto const found = std::ranges::find(tools, tool, &McpTool::name);
    return found == tools.end() ? nullptr : &*found;
}

} // namespace zelvo::service
