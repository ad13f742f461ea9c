#include "ZelvoGateway/mcp/tools/ElementRoles.h"

#include "base/Text.h"

#include <algorithm>
#include <array>

namespace zelvo::service {

namespace {

constexpr std::array<std::string_view, 59> wireRoles{"AXApplication",
                                                     "AXBrowser",
                                                     "AXBusyIndicator",
                                                     "AXButton",
                                                     "AXCell",
                                                     "AXCheckBox",
                                                     "AXColorWell",
                                                     "AXColumn",
                                                     "AXComboBox",
                                                     "AXDateField",
                                                     "AXDialog",
                                                     "AXDisclosureTriangle",
                                                     "AXDrawer",
                                                     "AXGrid",
                                                     "AXGroup",
                                                     "AXHandle",
                                                     "AXHeading",
                                                     "AXHelpTag",
                                                     "AXImage",
                                                     "AXIncrementor",
                                                     "AXLayoutArea",
                                                     "AXLayoutItem",
                                                     "AXLevelIndicator",
                                                     "AXLink",
                                                     "AXList",
                                                     "AXMatte",
                                                     "AXMenu",
                                                     "AXMenuBar",
                                                     "AXMenuBarItem",
                                                     "AXMenuButton",
                                                     "AXMenuItem",
                                                     "AXOutline",
                                                     "AXPopUpButton",
                                                     "AXPopover",
                                                     "AXProgressIndicator",
                                                     "AXRadioButton",
                                                     "AXRelevanceIndicator",
                                                     "AXRow",
                                                     "AXRuler",
                                                     "AXScrollArea",
                                                     "AXScrollBar",
                                                     "AXSecureTextField",
                                                     "AXSegmentedControl",
                                                     "AXSheet",
                                                     "AXSlider",
                                                     "AXSplitGroup",
                                                     "AXSplitter",
                                                     "AXStaticText",
                                                     "AXTab",
                                                     "AXTabGroup",
                                                     "AXTable",
                                                     "AXTextArea",
                                                     "AXTextField",
                                                     "AXTimeField",
                                                     "AXToolbar",
                                                     "AXUnknown",
                                                     "AXValueIndicator",
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
