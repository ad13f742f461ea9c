#include "ZelvoGateway/mcp/tools/ElementRoles.h"

#include "base/Text.h"

#include <algorithm>
#include <array>

namespace zelvo::service {

namespace {

constexpr std::array<std::string_view, 40> wireRoles{"AXApplication",
                                                     "AXButton",
                                                     "AXCell",
                                                     "AXCheckBox",
                                                     "AXComboBox",
                                                     "AXDialog",
                                                     "AXDisclosureTriangle",
                                                     "AXGroup",
                                                     "AXHeading",
                                                     "AXImage",
                                                     "AXLayoutArea",
                                                     "AXLayoutItem",
                                                     "AXLink",
                                                     "AXList",
                                                     "AXMenu",
                                                     "AXMenuBar",
                                                     "AXMenuBarItem",
                                                     "AXMenuButton",
                                                     "AXMenuItem",
                                                     "AXOutline",
                                                     "AXPopUpButton",
                                                     "AXProgressIndicator",
                                                     "AXRadioButton",
                                                     "AXRow",
                                                     "AXScrollArea",
                                                     "AXScrollBar",
                                                     "AXSecureTextField",
                                                     "AXSegmentedControl",
                                                     "AXSheet",
                                                     "AXSlider",
                                                     "AXSplitGroup",
                                                     "AXStaticText",
                                                     "AXTab",
                                                     "AXTabGroup",
                                                     "AXTable",
                                                     "AXTextArea",
                                                     "AXTextField",
                                                     "AXToolbar",
                                                     "AXWebArea",
                                                     "AXWindow"};

} // namespace

std::string shownRole(std::string_view role)
{
    std::string shown = text::lowercased(role);
    std::erase_if(shown, [](char c) { return c == ' ' || c == '_' || c == '-'; });
    return shown.starts_with("ax") ? shown.substr(2) : shown;
}

std::string wireRole(std::string_view role)
{
    std::string const shown = shownRole(role);
    for (std::string_view const known : wireRoles)
        if (shownRole(known) == shown)
            return std::string(known);
    return role.starts_with("AX") ? std::string(role) : "AX" + text::capitalized(shown);
}

} // namespace zelvo::service
