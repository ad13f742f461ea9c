#pragma once

#include "ZelvoGateway/mcp/McpTool.h"
#include "ZelvoGateway/mcp/tools/MachineCall.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// What a model wants to see after it acted.
struct ObservationRequest {
    std::string what = "tree"; ///< none, tree, screenshot or both
    std::optional<std::int64_t> settleMs =
        300; ///< how long the screen has to be at rest; not waited for without it
};

/// What was done.
struct Deed {
    std::string status = {};                 ///< "ok 2/2"
    std::vector<std::string> lines = {};     ///< that follow
    bool holdsData = false;                  ///< status or lines have texts of the machine
    std::optional<ToolFailure> failure = {}; ///< why the rest was not done; begins the answer instead
};

/// The answer to something that was done: its status, how the screen came to rest, and what changed. Never
/// fails because of the observation: the answer then says why there is none.
Task<McpToolResult> observed(MachineCallPtr call, Deed deed, ObservationRequest request);

} // namespace zelvo::service
