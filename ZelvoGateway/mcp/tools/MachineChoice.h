#pragma once

#include "ZelvoGateway/mcp/McpTool.h"
#include "ZelvoGateway/mcp/tools/DesktopCommands.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// The machine that a call is for.
/// name     a connection's id, or a computer's name in any case; needed only if the caller reaches several
/// Throws   ToolFailure, which lists the choices
ReachedMachine chosenMachine(std::vector<ReachedMachine> const& machines,
                             std::optional<std::string> const& name);

/// What "machine_list" answers.
McpToolResult machineList(std::vector<ReachedMachine> const& machines);

} // namespace zelvo::service
