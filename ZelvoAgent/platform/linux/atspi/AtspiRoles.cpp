#include "platform/linux/atspi/AtspiRoles.h"

#include <array>

namespace zelvo {

namespace {

using enum AtspiRole;

struct Row {
    AtspiRole role;
    char const* ax;
};

/// Roles that mean the same in every state and place.
constexpr Row rows[] = {
    {pushButton, "AXButton"},
    {columnHeader, "AXButton"},
    {tableColumnHeader, "AXButton"},
    {checkBox, "AXCheckBox"},
    {switchButton, "AXCheckBox"},
    {spinButton, "AXTextField"},
    {terminal, "AXTextArea"},
    {documentText, "AXTextArea"},
    {passwordText, "AXSecureTextField"},
    {link, "AXLink"},
    {radioButton, "AXRadioButton"},
    {menuItem, "AXMenuItem"},
    {checkMenuItem, "AXMenuItem"},
    {radioMenuItem, "AXMenuItem"},
    {tearOffMenuItem, "AXMenuItem"},
    {slider, "AXSlider"},
    {dial, "AXSlider"},
    {pageTab, "AXTab"},
    {pushButtonMenu, "AXMenuButton"},
    {popupMenu, "AXMenu"},
    {label, "AXStaticText"},
    {staticText, "AXStaticText"},
    {paragraph, "AXStaticText"},
    {heading, "AXHeading"},
    {panel, "AXGroup"},
    {filler, "AXGroup"},
    {section, "AXGroup"},
    {form, "AXGroup"},
    {grouping, "AXGroup"},
    {rootPane, "AXGroup"},
    {redundantObject, "AXGroup"},
    {image, "AXImage"},
    {icon, "AXImage"},
    {canvas, "AXImage"},
    {documentWeb, "AXWebArea"},
    {documentFrame, "AXWebArea"},
    {scrollPane, "AXScrollArea"},
    {viewport, "AXScrollArea"},
    {scrollBar, "AXScrollBar"},
    {toolBar, "AXToolbar"},
    {list, "AXList"},
    {listBox, "AXList"},
    {listItem, "AXRow"},
    {treeItem, "AXRow"},
    {tableRow, "AXRow"},
    {table, "AXTable"},
    {treeTable, "AXTable"},
    {tree, "AXOutline"},
    {tableCell, "AXCell"},
    {pageTabList, "AXTabGroup"},
    {splitPane, "AXSplitGroup"},
    {separator, "AXSplitter"},
    {progressBar, "AXProgressIndicator"},
    {levelBar, "AXProgressIndicator"},
    {statusBar, "AXGroup"},
    {infoBar, "AXGroup"},
    {notification, "AXGroup"},
    {application, "AXApplication"},
};

constexpr std::size_t tableEnd = 131;

constexpr auto byNumber = [] {
    std::array<std::string_view, tableEnd> table{};
    for (Row const& row : rows)
        table[static_cast<std::size_t>(row.role)] = row.ax;
    return table;
}();

AxRole dialogIn(AtspiPlace place)
{
    if (place.isInApplication)
        return {"AXWindow", "AXDialog"};
    return {"AXGroup"};
}

AxRole toggleButtonIn(AtspiStates states)
{
    if (states.has(AtspiState::hasPopup))
        return {"AXMenuButton"};
    return {states.has(AtspiState::expandable) ? "AXDisclosureTriangle" : "AXCheckBox"};
}

} // namespace

AxRole axRoleOf(AtspiRole role, AtspiStates states, AtspiPlace place)
{
    switch (role) {
    case text:
    case entry:
        return {states.has(AtspiState::multiLine) ? "AXTextArea" : "AXTextField"};
    case comboBox:
        return {states.has(AtspiState::editable) ? "AXComboBox" : "AXPopUpButton"};
    case toggleButton:
        return toggleButtonIn(states);
    case menu:
        return {place.isInMenuBar ? "AXMenuItem" : "AXMenu"};
    case frame:
    case window:
        return {"AXWindow", "AXStandardWindow"};
    case dialog:
    case alert:
    case fileChooser:
    case colorChooser:
    case fontChooser:
        return dialogIn(place);
    default:
        break;
    }
    auto const number = static_cast<std::size_t>(role);
    if (number < tableEnd && !byNumber[number].empty())
        return {byNumber[number]};
    return {"AXUnknown"};
}

bool holdsManyChildren(AtspiRole role)
{
    std::string_view const ax = axRoleOf(role, {}, {}).role;
    return ax == "AXTable" || ax == "AXOutline" || ax == "AXList" || ax == "AXUnknown";
}

bool isLeafRole(AtspiRole role)
{
    switch (role) {
    case checkBox:
    case icon:
    case image:
    case passwordText:
    case pushButton:
    case radioButton:
    case separator:
    case slider:
    case text:
    case toggleButton:
    case entry:
    case link:
    case staticText:
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
