#pragma once

#include "ZelvoGateway/mcp/McpTool.h"
#include "ZelvoGateway/mcp/tools/MachineCall.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// What to look at.
struct LookRequest {
    bool wantsTree = true;
    bool wantsPicture = false;
    TreeView view = {};
    std::string find = {}; ///< only elements with this text in their name or value
    std::string role = {}; ///< only elements with this role
    /// The tree that the model knows: shows what changed, if that is shorter.
    std::optional<std::string> since = {};
    std::optional<SeenFrame> region = {}; ///< in points
    std::size_t maxLines = 150;
};

/// What a model gets to see. All coordinates are in one space.
struct Look {
    std::string heading; ///< "Mousepad · s13, changes since s12 · main display 1600x900"
    std::vector<std::string> lines;
    std::vector<McpContent> pictures;
};

/// What a parameter "what" or "observe" asks for.
void wantWhat(LookRequest& request, std::string_view what);

/// Reads the tree of a machine, whose elements get their references. Throws Failure.
Task<std::shared_ptr<SeenTree const>> readTree(MachineCallPtr call, TreeView view);

/// Looks, and remembers what was shown. Throws Failure, ToolFailure.
Task<Look> look(MachineCallPtr call, LookRequest request);

} // namespace zelvo::service
