#pragma once

#include "base/Clock.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// An agent of a platform, as the person at a machine sees it.
struct Agent {
    std::string ref; ///< the gateway's handle; see agentRef()
    std::string connectionId;
    std::string name;
    std::optional<std::string> task; ///< what it is doing, in the platform's words
    bool operator==(Agent const&) const = default;
};

/// An agent that the person has paused, and since when.
struct PausedAgent {
    Agent agent;
    Date since;
};

} // namespace zelvo::service
