#pragma once

#include <string>
#include <vector>

namespace zelvo {

/// Action names on the wire: what presses an element is "AXPress", what opens its menu "AXShowMenu", whatever
/// the toolkit calls it; others keep their names. Each name once, in the order given; actions without a name
/// or meaning are left out.
std::vector<std::string> axActionsOf(std::vector<std::string> const& names);

} // namespace zelvo
