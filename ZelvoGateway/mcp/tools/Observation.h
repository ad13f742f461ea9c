#pragma once

#include "ZelvoGateway/mcp/McpTool.h"
#include "ZelvoGateway/mcp/tools/MachineCall.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo::service {

/// What a model wants to see after it acted.
struct ObservationRequest {
    std::string what = "tree"; ///< none, tree, screenshot or both
    std::optional<std::int64_t> settleMs =
        300; ///< how long the screen has to be at rest; not waited for without it
};

/// The answer to something that was done: its status, how the screen came to rest, and what changed.
/// status    what was done: "ok 2/2"
/// failure   why the rest was not done; its text begins the answer instead of the status
/// Never fails because of the observation: the answer then says why there is none.
Task<McpToolResult> observed(MachineCallPtr call,
                             std::string status,
                             std::optional<ToolFailure> failure,
                             ObservationRequest request);

} // namespace zelvo::service
