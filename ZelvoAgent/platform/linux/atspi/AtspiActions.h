#pragma once

#include <string>
#include <vector>

namespace zelvo {

/// Action names on the wire: "AXPress" for the action that presses an element and "AXShowMenu" for the one
/// that opens its menu, whatever the toolkit calls them; others keep their names. Each name appears once, in
/// the given order. Actions without a name or meaning are left out.
std::vector<std::string> axActionsOf(std::vector<std::string> const& names);

} // namespace zelvo
