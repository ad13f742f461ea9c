#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The roles of what a person presses.
inline constexpr std::array<std::string_view, 6> buttonRoles = {
    "AXButton", "AXLink", "AXMenuItem", "AXMenuButton", "AXCheckBox", "AXRadioButton"};

constexpr bool isButtonRole(std::string_view role)
{
    return std::ranges::find(buttonRoles, role) != buttonRoles.end();
}

/// Is it the subrole of a dialog's window?
inline bool isDialogSubrole(std::optional<std::string> const& subrole)
{
    return subrole == "AXDialog" || subrole == "AXSystemDialog" || subrole == "AXSystemFloatingWindow";
}

} // namespace zelvo
