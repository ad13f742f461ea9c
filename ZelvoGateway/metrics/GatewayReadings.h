#pragma once

#include <cstddef>
#include <cstdint>

namespace zelvo::service {

/// What the gateway is asked for at the moment at which its metrics are read.
struct GatewayReadings {
    std::size_t machines = 0; ///< connected to this process
    std::size_t maxMachines = 0;
    std::size_t connections = 0; ///< HTTP connections that are open
    std::size_t maxConnections = 0;
    std::size_t openWork = 0; ///< requests and commands that are not answered yet
    std::size_t memoryUsed = 0;
    std::size_t memoryLimit = 0;
    std::size_t auditEvents = 0; ///< that are not written yet
    // Of the whole store, as of the last minute.
    std::int64_t queuedCommands = 0;
    std::int64_t waitingDeliveries = 0;
};

} // namespace zelvo::service
