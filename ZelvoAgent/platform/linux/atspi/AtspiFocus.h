#pragma once

#include "platform/linux/atspi/AtspiElements.h"

#include <optional>
#include <vector>

namespace zelvo {

/// Finds the element with the keyboard focus. Thread: one; blocks.
class AtspiFocus {
public:
    using Index = AtspiNode::Index;
    static constexpr std::size_t maxLookedAt = 5'000;

    AtspiFocus(AtspiInquiry& inquiry, AtspiNodes& nodes, AtspiElements& known)
        : inquiry(inquiry), nodes(nodes), known(known)
    {
    }

    /// The deepest focused element in a window.
    std::optional<Index> findIn(Index window);

private:
    /// The last, and therefore the deepest, of the focused elements that the application itself found.
    std::optional<Index> lastOf(std::vector<Index> const& focused, Index window);
    std::optional<Index> lookFor(Index window);
    bool isJustCurrent(Index index) const;

    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
    AtspiElements& known;
};

} // namespace zelvo
