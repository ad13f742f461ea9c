#pragma once

#include <string>
#include <string_view>

namespace zelvo::service {

/// A role as machines name it: "AXPopUpButton" for "popupbutton", "pop up button" or "AXPopUpButton".
std::string wireRole(std::string_view role);
/// A role as trees show it: "popupbutton".
std::string shownRole(std::string_view role);

} // namespace zelvo::service
