#include "platform/linux/atspi/AtspiRoles.h"

#include <array>

namespace zelvo {

namespace {

struct Row {
    std::uint32_t role;
    char const* ax;
};

/// Roles that mean the same in every state and place.
constexpr Row rows[] = {
    {43, "AXButton"},             // push button
    {10, "AXButton"},             // column header
    {57, "AXButton"},             // table column header
    {7, "AXCheckBox"},            // check box
    {130, "AXCheckBox"},          // switch
    {52, "AXTextField"},          // spin button
    {60, "AXTextArea"},           // terminal
    {94, "AXTextArea"},           // document text
    {40, "AXSecureTextField"},    // password text
    {88, "AXLink"},               // link
    {44, "AXRadioButton"},        // radio button
    {35, "AXMenuItem"},           // menu item
    {8, "AXMenuItem"},            // check menu item
    {45, "AXMenuItem"},           // radio menu item
    {59, "AXMenuItem"},           // tear-off menu item
    {51, "AXSlider"},             // slider
    {15, "AXSlider"},             // dial
    {37, "AXTab"},                // page tab
    {129, "AXMenuButton"},        // push button menu
    {41, "AXMenu"},               // popup menu
    {29, "AXStaticText"},         // label
    {116, "AXStaticText"},        // static
    {73, "AXStaticText"},         // paragraph
    {83, "AXHeading"},            // heading
    {39, "AXGroup"},              // panel
    {20, "AXGroup"},              // filler
    {85, "AXGroup"},              // section
    {87, "AXGroup"},              // form
    {99, "AXGroup"},              // grouping
    {46, "AXGroup"},              // root pane
    {86, "AXGroup"},              // redundant object
    {27, "AXImage"},              // image
    {26, "AXImage"},              // icon
    {6, "AXImage"},               // canvas
    {95, "AXWebArea"},            // document web
    {82, "AXWebArea"},            // document frame
    {49, "AXScrollArea"},         // scroll pane
    {68, "AXScrollArea"},         // viewport
    {48, "AXScrollBar"},          // scroll bar
    {63, "AXToolbar"},            // tool bar
    {31, "AXList"},               // list
    {98, "AXList"},               // list box
    {32, "AXRow"},                // list item
    {91, "AXRow"},                // tree item
    {90, "AXRow"},                // table row
    {55, "AXTable"},              // table
    {66, "AXTable"},              // tree table
    {65, "AXOutline"},            // tree
    {56, "AXCell"},               // table cell
    {38, "AXTabGroup"},           // page tab list
    {53, "AXSplitGroup"},         // split pane
    {50, "AXSplitter"},           // separator
    {42, "AXProgressIndicator"},  // progress bar
    {103, "AXProgressIndicator"}, // level bar
    {54, "AXGroup"},              // status bar
    {102, "AXGroup"},             // info bar
    {101, "AXGroup"},             // notification
    {75, "AXApplication"},        // application
};

constexpr std::uint32_t tableEnd = 131;

constexpr auto byNumber = [] {
    std::array<std::string_view, tableEnd> table{};
    for (Row const& row : rows)
        table[row.role] = row.ax;
    return table;
}();

AxRole dialogIn(AtspiPlace place)
{
    if (place.isInApplication)
        return {"AXWindow", "AXDialog"};
    return {"AXGroup"};
}

AxRole toggleButton(AtspiStates states)
{
    if (states.has(AtspiState::hasPopup))
        return {"AXMenuButton"};
    return {states.has(AtspiState::expandable) ? "AXDisclosureTriangle" : "AXCheckBox"};
}

} // namespace

AxRole axRoleOf(std::uint32_t role, AtspiStates states, AtspiPlace place)
{
    switch (role) {
    case 61: // text
    case 79: // entry
        return {states.has(AtspiState::multiLine) ? "AXTextArea" : "AXTextField"};
    case 11: // combo box
        return {states.has(AtspiState::editable) ? "AXComboBox" : "AXPopUpButton"};
    case 62: // toggle button
        return toggleButton(states);
    case 33: // menu
        return {place.isInMenuBar ? "AXMenuItem" : "AXMenu"};
    case 23: // frame
    case 69: // window
        return {"AXWindow", "AXStandardWindow"};
    case 16: // dialog
    case 2:  // alert
    case 19: // file chooser
    case 9:  // color chooser
    case 22: // font chooser
        return dialogIn(place);
    default:
        break;
    }
    if (role < tableEnd && !byNumber[role].empty())
        return {byNumber[role]};
    return {"AXUnknown"};
}

bool holdsManyChildren(std::uint32_t role)
{
    std::string_view const ax = axRoleOf(role, {}, {}).role;
    return ax == "AXTable" || ax == "AXOutline" || ax == "AXList" || ax == "AXUnknown";
}

bool isLeafRole(std::uint32_t role)
{
    switch (role) {
    case 7:   // check box
    case 26:  // icon
    case 27:  // image
    case 40:  // password text
    case 43:  // push button
    case 44:  // radio button
    case 50:  // separator
    case 51:  // slider
    case 61:  // text
    case 62:  // toggle button
    case 79:  // entry
    case 88:  // link
    case 116: // static
        return true;
    default:
        return false;
    }
}

bool isTextRole(std::string_view axRole)
{
    return axRole == "AXStaticText" || axRole == "AXTextField" || axRole == "AXTextArea" ||
           axRole == "AXUnknown";
}

} // namespace zelvo
