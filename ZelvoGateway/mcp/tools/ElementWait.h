#pragma once

#include "ZelvoGateway/mcp/tools/MachineCall.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// An element to wait for.
struct ElementWait {
    std::optional<std::string> role = {}; ///< as trees show it
    std::optional<std::string> name = {}; ///< a part of it, in any case
    std::optional<std::string> value = {};
    std::string until = "appears"; ///< appears, disappears, enabled or value
    Duration timeout = std::chrono::seconds(10);
};

/// How a wait ended.
struct ElementWaitResult {
    bool isMatched = false;
    std::int64_t elapsedMs = 0;
    std::optional<SeenElement> element = {}; ///< as far as the machine reports it
};

/// Waits for an element. Reads the tree twice a second if the agent cannot wait. Throws Failure.
Task<ElementWaitResult> waitForElement(MachineCallPtr call, ElementWait wait);

} // namespace zelvo::service
