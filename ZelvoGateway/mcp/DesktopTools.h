#pragma once

#include "ZelvoGateway/mcp/McpTool.h"

#include <string>
#include <vector>

namespace zelvo::service {

/// Which tools an address offers. Nothing else changes the list, so that clients can keep it.
struct DesktopToolChoice {
    bool namesMachines = true;    ///< the tools take "machine"; false where the address names a connection
    bool hasComputerTool = false; ///< "computer", for models that were trained on such a tool
};

/// The tools by which a model sees and operates desktops, in a fixed order.
std::vector<McpTool> desktopTools(DesktopToolChoice choice);

/// How to use them, for models.
std::string desktopInstructions();

} // namespace zelvo::service
