#pragma once

#include <string>
#include <vector>

namespace zelvo {

/// The part of the agent's state that code off the main thread may read.
struct StateMirror {
    bool paused = false;
    std::string availability = "ready";            ///< wire text
    std::vector<std::string> grantedConnectionIds; ///< ascending
    bool operator==(StateMirror const&) const = default;
};

} // namespace zelvo
