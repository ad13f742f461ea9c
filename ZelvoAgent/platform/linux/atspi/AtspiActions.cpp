#include "platform/linux/atspi/AtspiActions.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace zelvo {

namespace {

/// Toolkits write the same action "show menu", "ShowMenu" and "show-menu".
std::string plain(std::string_view name)
{
    std::string letters;
    for (unsigned char const c : name)
        if (c != ' ' && c != '-' && c != '_')
            letters += static_cast<char>(std::tolower(c));
    return letters;
}

std::string axActionOf(std::string const& name)
{
    std::string const letters = plain(name);
    for (char const* press : {"click", "press", "activate", "jump", "toggle"})
        if (letters == press)
            return "AXPress";
    return letters == "showmenu" ? "AXShowMenu" : name;
}

/// Chromium's names for elements that have no action of their own.
bool saysNothing(std::string const& name)
{
    return name == "doDefault" || name == "clickAncestor";
}

} // namespace

std::vector<std::string> axActionsOf(std::vector<std::string> const& names)
{
    std::vector<std::string> actions;
    for (std::string const& name : names) {
        if (name.empty())
            continue;
        if (saysNothing(name))
            continue;
        std::string action = axActionOf(name);
        if (std::ranges::find(actions, action) == actions.end())
            actions.push_back(std::move(action));
    }
    return actions;
}

} // namespace zelvo
