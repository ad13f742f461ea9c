#pragma once

#include "ZelvoGateway/mcp/tools/MachineCall.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo::service {

/// How a wait for a screen at rest ended.
struct Settling {
    std::optional<bool> isAtRest = {}; ///< nullopt if nobody can say
    std::int64_t elapsedMs = 0;
};

/// Waits until the screen is at rest for `quietMs`, at most about three seconds longer. Asks an agent that
/// cannot say so for two equal trees, and only waits where there are none. Throws Failure.
Task<Settling> settle(MachineCallPtr call, std::int64_t quietMs);

/// "settled 412 ms".
std::string settlingText(Settling settling);

} // namespace zelvo::service
