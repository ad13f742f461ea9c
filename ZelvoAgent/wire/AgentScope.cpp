#include "wire/AgentScope.h"

#include "base/LocalizedTexts.h"

#include <algorithm>

namespace zelvo {

std::string title(AgentScope scope)
{
    return localized("scope." + std::string(rawValue(scope)));
}

std::string shortTitle(AgentScope scope)
{
    return localized("scope.short." + std::string(rawValue(scope)));
}

std::string shortList(std::vector<AgentScope> const& scopes)
{
    std::string list;
    for (AgentScope const scope : allScopes) {
        if (std::ranges::find(scopes, scope) == scopes.end())
            continue;
        if (!list.empty())
            list += localized("list.separator");
        list += shortTitle(scope);
    }
    return list;
}

std::set<AgentScope> ConsentDefaults::initialSelection(std::vector<AgentScope> const& requested)
{
    std::set<AgentScope> selection;
    for (AgentScope const scope : requested)
        if (!isOffByDefault(scope))
            selection.insert(scope);
    return selection;
}

} // namespace zelvo
