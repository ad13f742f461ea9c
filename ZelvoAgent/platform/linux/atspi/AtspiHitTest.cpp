#include "platform/linux/atspi/AtspiHitTest.h"

#include <ranges>

namespace zelvo {

std::optional<AtspiNode::Index> AtspiHitTest::find(std::vector<Index> const& windows, DesktopPoint point)
{
    for (Index const window : windows)
        if (auto const hit = findIn(window, point))
            return hit;
    return std::nullopt;
}

std::optional<AtspiNode::Index> AtspiHitTest::findIn(Index index, DesktopPoint point)
{
    known.identify(index);
    if (!known.isShowing(index) || ++lookedAt > mostLookedAt)
        return std::nullopt;
    auto const frame = places.frameOf(index);
    if (!frame || !frame->contains(point))
        return std::nullopt;
    // What is drawn last lies on top.
    for (Index const child : std::views::reverse(childrenOf(index)))
        if (auto const hit = findIn(child, point))
            return hit;
    return index;
}

std::vector<AtspiNode::Index> AtspiHitTest::childrenOf(Index index)
{
    inquiry.ensure(index, AtspiQuestion::children);
    auto const children = nodes[index].children.value_or(std::vector<Index>());
    for (Index const child : children) {
        known.askIdentity(child);
        inquiry.ask(child, AtspiQuestion::extents);
    }
    return children;
}

} // namespace zelvo
