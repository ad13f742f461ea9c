#include "ZelvoGateway/mcp/tools/Tools.h"

namespace zelvo::service {

Task<McpToolResult> computer(MachineCallPtr, json::object)
{
    throw ToolFailure{.code = ErrorCode::invalidRequest, .what = "not yet"};
    co_return McpToolResult{};
}

} // namespace zelvo::service
