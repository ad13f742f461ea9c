#pragma once

#include "platform/linux/atspi/AtspiElements.h"
#include "platform/linux/atspi/AtspiPlaces.h"

#include <optional>
#include <vector>

namespace zelvo {

/// Finds the deepest element at a point by the places of the elements. Thread: one; blocks.
class AtspiHitTest {
public:
    using Index = AtspiNode::Index;
    static constexpr std::size_t mostLookedAt = 5'000;

    AtspiHitTest(AtspiInquiry& inquiry, AtspiNodes& nodes, AtspiElements& known, AtspiPlaces& places)
        : inquiry(inquiry), nodes(nodes), known(known), places(places)
    {
    }

    /// windows  where to look, the one on top first
    std::optional<Index> find(std::vector<Index> const& windows, DesktopPoint point);

private:
    std::optional<Index> findIn(Index index, DesktopPoint point);
    std::vector<Index> childrenOf(Index index);

    AtspiInquiry& inquiry;
    AtspiNodes& nodes;
    AtspiElements& known;
    AtspiPlaces& places;
    std::size_t lookedAt = 0;
};

} // namespace zelvo
