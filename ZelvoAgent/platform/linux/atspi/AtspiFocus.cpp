#include "platform/linux/atspi/AtspiFocus.h"

#include <vector>

namespace zelvo {

std::optional<AtspiNode::Index> AtspiFocus::findIn(Index window)
{
    std::optional<Index> focused;
    std::vector<Index> row = {window};
    for (std::size_t lookedAt = 0; !row.empty() && lookedAt < mostLookedAt; lookedAt += row.size()) {
        for (Index const index : row)
            known.askIdentity(index);
        std::vector<Index> below;
        for (Index const index : row) {
            known.identify(index);
            if (!known.isShowing(index))
                continue;
            if (nodes[index].has(AtspiState::focused))
                focused = index;
            inquiry.ask(index, AtspiQuestion::children);
            below.push_back(index);
        }
        row.clear();
        for (Index const index : below) {
            inquiry.ensure(index, AtspiQuestion::children);
            auto const& children = nodes[index].children;
            if (children)
                row.insert(row.end(), children->begin(), children->end());
        }
    }
    return focused;
}

} // namespace zelvo
