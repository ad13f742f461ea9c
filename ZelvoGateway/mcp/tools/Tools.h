#pragma once

#include "ZelvoGateway/mcp/McpTool.h"
#include "ZelvoGateway/mcp/tools/MachineCall.h"

namespace zelvo::service {

/// The tools, by their names in "tools/list". Arguments fit the tool's schema. They throw ToolFailure and
/// Failure; what a model can still use is in their results.

Task<McpToolResult> desktopSee(MachineCallPtr call, json::object arguments);
Task<McpToolResult> desktopAct(MachineCallPtr call, json::object arguments);
Task<McpToolResult> desktopWait(MachineCallPtr call, json::object arguments);
Task<McpToolResult> appList(MachineCallPtr call, json::object arguments);
Task<McpToolResult> appOpen(MachineCallPtr call, json::object arguments);
Task<McpToolResult> clipboardRead(MachineCallPtr call, json::object arguments);
Task<McpToolResult> clipboardWrite(MachineCallPtr call, json::object arguments);
Task<McpToolResult> shellRun(MachineCallPtr call, json::object arguments);
Task<McpToolResult> fileRead(MachineCallPtr call, json::object arguments);
Task<McpToolResult> fileWrite(MachineCallPtr call, json::object arguments);
Task<McpToolResult> computer(MachineCallPtr call, json::object arguments);

} // namespace zelvo::service
