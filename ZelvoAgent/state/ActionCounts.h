#pragma once

#include "drivers/InputAction.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zelvo {

/// Counts the actions of a batch for the activity log.
struct ActionCounts {
    /// One kind of activity.
    enum class Part { click, type, keys, scroll, drag };

    std::vector<Part> parts; ///< without duplicates, in order of first appearance
    std::int64_t moves = 0;
    std::int64_t clicks = 0;
    std::int64_t drags = 0;
    std::int64_t scrolls = 0;
    std::int64_t characters = 0;
    std::vector<std::string> keyNames;

    static ActionCounts of(std::vector<InputAction> const& list);
};

} // namespace zelvo
