#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace zelvo {

/// The roles of what a person presses.
inline constexpr std::array<std::string_view, 6> buttonRoles = {
    "AXButton", "AXLink", "AXMenuItem", "AXMenuButton", "AXCheckBox", "AXRadioButton"};

constexpr bool isButtonRole(std::string_view role)
{
    return std::ranges::find(buttonRoles, role) != buttonRoles.end();
}

} // namespace zelvo
