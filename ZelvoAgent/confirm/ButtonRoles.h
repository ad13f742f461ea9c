#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The roles that count as a button.
inline constexpr std::array<std::string_view, 6> buttonRoles = {
    "AXButton", "AXLink", "AXMenuItem", "AXMenuButton", "AXCheckBox", "AXRadioButton"};

constexpr bool isButtonRole(std::string_view role)
{
    return std::ranges::find(buttonRoles, role) != buttonRoles.end();
}

/// False for a box of a web form: there Return presses the form's default button.
constexpr bool isPressedByReturn(std::string_view role)
{
    return isButtonRole(role) && role != "AXCheckBox" && role != "AXRadioButton";
}

/// True for the subrole of a dialog window.
inline bool isDialogSubrole(std::optional<std::string> const& subrole)
{
    return subrole == "AXDialog" || subrole == "AXSystemDialog" || subrole == "AXSystemFloatingWindow";
}

} // namespace zelvo
