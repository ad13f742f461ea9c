#include "platform/linux/atspi/AtspiNames.h"

#include <algorithm>
#include <vector>

namespace zelvo {

namespace {

constexpr std::size_t maxLevels = 100; // Pages nest deeply.

/// What an application shows beside its active window.
bool popsUp(AtspiRole role)
{
    return role == AtspiRole::window || role == AtspiRole::popupMenu || role == AtspiRole::menu;
}

} // namespace

std::string AtspiNames::nameOf(Index index) const
{
    if (nodes[index].peer != application.peer)
        return {};
    return application.name + *nodes[index].path;
}

std::optional<AtspiNode::Index> AtspiNames::find(std::string const& name)
{
    if (!name.starts_with(application.name + "/"))
        return std::nullopt;
    auto const index = nodes.find(application.peer, name.substr(application.name.size()));
    return index && reach(*index) ? index : std::nullopt;
}

bool AtspiNames::reach(Index index)
{
    std::vector<Index> chain = {index};
    while (chain.back() != 0) {
        auto const parent = inquiry.parentOf(chain.back());
        if (!parent || chain.size() > maxLevels || std::ranges::find(chain, *parent) != chain.end())
            return false;
        chain.push_back(*parent);
    }
    for (std::size_t i = chain.size() - 1; i > 0; --i)
        if (!nodes.hang(chain[i - 1], chain[i]))
            return false;
    known.identify(index);
    return chain.size() > 1 && known.isShowing(index) && isInReach(chain[chain.size() - 2]);
}

bool AtspiNames::isInReach(Index window)
{
    known.identify(window);
    return known.exists(window) &&
           (nodes[window].has(AtspiState::active) || popsUp(nodes[window].role.value_or(AtspiRole::invalid)));
}

} // namespace zelvo
