#include "platform/linux/atspi/AtspiFocus.h"

#include <algorithm>
#include <ranges>

namespace zelvo {

namespace {

constexpr std::size_t maxLevels = 100;

bool isItem(AtspiRole role)
{
    return role == AtspiRole::listItem || role == AtspiRole::pageTab || role == AtspiRole::tableCell ||
           role == AtspiRole::treeItem;
}

bool isMenuItem(AtspiRole role)
{
    return role == AtspiRole::menuItem || role == AtspiRole::checkMenuItem ||
           role == AtspiRole::radioMenuItem;
}

} // namespace

std::optional<AtspiNode::Index> AtspiFocus::findMenuItemIn(Index window)
{
    auto matches = inquiry.withState(window, wanted).value_or(std::vector<Index>());
    for (Index const index : matches)
        known.askIdentity(index);
    std::erase_if(matches, [this](Index index) {
        known.identify(index);
        return !known.isShowing(index) || !isMenuItem(nodes[index].role.value_or(AtspiRole::invalid));
    });
    return lastOf(matches, window);
}

std::optional<AtspiNode::Index> AtspiFocus::findIn(Index window)
{
    auto const matches = inquiry.withState(window, wanted);
    return matches ? lastOf(*matches, window) : lookFor(window);
}

std::optional<AtspiNode::Index> AtspiFocus::lastOf(std::vector<Index> const& matches, Index window)
{
    for (Index const index : std::views::reverse(matches)) {
        std::vector<Index> chain = {index};
        while (chain.back() != window && chain.size() < maxLevels) {
            known.askIdentity(chain.back());
            auto const parent = inquiry.parentOf(chain.back());
            if (!parent || std::ranges::find(chain, *parent) != chain.end())
                break;
            chain.push_back(*parent);
        }
        for (std::size_t i = chain.size() - 1; chain.back() == window && i > 0; --i)
            nodes.hang(chain[i - 1], chain[i]);
        known.identify(index);
        if (nodes[index].parent && known.exists(index) && nodes[index].has(wanted))
            return index;
    }
    return std::nullopt;
}

std::optional<AtspiNode::Index> AtspiFocus::lookFor(Index window)
{
    std::optional<Index> found;
    std::vector<Index> row = {window};
    for (std::size_t lookedAt = 0; !row.empty() && lookedAt < maxLookedAt; lookedAt += row.size()) {
        for (Index const index : row)
            known.askIdentity(index);
        std::vector<Index> below;
        for (Index const index : row) {
            known.identify(index);
            if (!known.isShowing(index))
                continue;
            if (nodes[index].has(wanted) && !isJustCurrent(index))
                found = index;
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
    return found;
}

/// Qt reports the current item of every list, and the current tab, as focused.
bool AtspiFocus::isJustCurrent(Index index) const
{
    AtspiNode const& node = nodes[index];
    return inquiry.toolkitOf(node.peer).callsItemsFocused && isItem(node.role.value_or(AtspiRole::invalid)) &&
           node.parent && !nodes[*node.parent].has(AtspiState::focused);
}

} // namespace zelvo
