#pragma once

#include "platform/linux/atspi/AtspiElements.h"

#include <optional>
#include <vector>

namespace zelvo {

/// Finds the element with the keyboard focus, or the one with another state that one element of a window has.
/// Thread: one; blocks.
class AtspiFocus {
public:
    using Index = AtspiNode::Index;
    static constexpr std::size_t maxLookedAt = 5'000;

    AtspiFocus(AtspiInquiry& inquiry,
               AtspiNodes& nodes,
               AtspiElements& known,
               AtspiState wanted = AtspiState::focused)
        : inquiry(inquiry), nodes(nodes), known(known), wanted(wanted)
    {
    }

    /// The deepest such element in a window.
    std::optional<Index> findIn(Index window);
    /// The deepest showing item of a menu with that state.
    std::optional<Index> findMenuItemIn(Index window);

private:
    /// The last, and therefore the deepest, of the elements that the application itself found.
    std::optional<Index> lastOf(std::vector<Index> const& matches, Index window);
    std::optional<Index> lookFor(Index window);
    bool isJustCurrent(Index index) const;

    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
    AtspiElements& known;
    AtspiState wanted;
};

} // namespace zelvo
