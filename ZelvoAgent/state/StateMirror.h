#pragma once

#include "wire/Availability.h"

#include <string>
#include <vector>

namespace zelvo {

/// A copy of the part of AgentState that other threads may read.
struct StateMirror {
    bool paused = false;
    Availability availability = Availability::ready;
    std::vector<std::string> grantedConnectionIds; ///< ascending
    bool operator==(StateMirror const&) const = default;
};

} // namespace zelvo
