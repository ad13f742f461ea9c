#pragma once

#include <cstdint>

namespace zelvo::service {

/// How much waits in a store, of all connections and webhooks together.
struct Backlog {
    std::int64_t commands = 0;   ///< that wait for their machines
    std::int64_t deliveries = 0; ///< of webhooks that are not disabled
};

} // namespace zelvo::service
