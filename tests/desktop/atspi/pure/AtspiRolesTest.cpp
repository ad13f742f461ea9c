#include "platform/linux/atspi/AtspiRoles.h"

#include <gtest/gtest.h>

#include <string>

namespace zelvo::test {

namespace {

using enum AtspiState;

std::string ax(std::uint32_t role, AtspiStates states = {}, AtspiPlace place = {})
{
    AxRole const found = axRoleOf(AtspiRole{role}, states, place);
    return std::string(found.role) + (found.subrole.empty() ? "" : "/" + std::string(found.subrole));
}

AtspiStates with(AtspiState state)
{
    return AtspiStates().add(state);
}

} // namespace

/// Role numbers are those of AtspiRole.
TEST(AtspiRoles, haveTheirNamesOnTheWire)
{
    struct {
        std::uint32_t role;
        char const* name;
        char const* ax;
    } const rows[] = {
        {43, "push button", "AXButton"},
        {10, "column header", "AXButton"},
        {57, "table column header", "AXButton"},
        {62, "toggle button", "AXCheckBox"},
        {7, "check box", "AXCheckBox"},
        {130, "switch", "AXCheckBox"},
        {79, "entry", "AXTextField"},
        {61, "text", "AXTextField"},
        {52, "spin button", "AXTextField"},
        {60, "terminal", "AXTextArea"},
        {94, "document text", "AXTextArea"},
        {40, "password text", "AXSecureTextField"},
        {88, "link", "AXLink"},
        {44, "radio button", "AXRadioButton"},
        {35, "menu item", "AXMenuItem"},
        {8, "check menu item", "AXMenuItem"},
        {45, "radio menu item", "AXMenuItem"},
        {59, "tear off menu item", "AXMenuItem"},
        {11, "combo box", "AXPopUpButton"},
        {51, "slider", "AXSlider"},
        {15, "dial", "AXSlider"},
        {37, "page tab", "AXTab"},
        {129, "push button menu", "AXMenuButton"},
        {33, "menu", "AXMenu"},
        {41, "popup menu", "AXMenu"},
        {23, "frame", "AXWindow/AXStandardWindow"},
        {69, "window", "AXWindow/AXStandardWindow"},
        {29, "label", "AXStaticText"},
        {116, "static", "AXStaticText"},
        {73, "paragraph", "AXStaticText"},
        {83, "heading", "AXHeading"},
        {39, "panel", "AXGroup"},
        {20, "filler", "AXGroup"},
        {85, "section", "AXGroup"},
        {87, "form", "AXGroup"},
        {99, "grouping", "AXGroup"},
        {46, "root pane", "AXGroup"},
        {86, "redundant object", "AXGroup"},
        {27, "image", "AXImage"},
        {26, "icon", "AXImage"},
        {6, "canvas", "AXImage"},
        {95, "document web", "AXWebArea"},
        {82, "document frame", "AXWebArea"},
        {49, "scroll pane", "AXScrollArea"},
        {68, "viewport", "AXScrollArea"},
        {48, "scroll bar", "AXScrollBar"},
        {63, "tool bar", "AXToolbar"},
        {31, "list", "AXList"},
        {98, "list box", "AXList"},
        {32, "list item", "AXRow"},
        {91, "tree item", "AXRow"},
        {90, "table row", "AXRow"},
        {55, "table", "AXTable"},
        {66, "tree table", "AXTable"},
        {65, "tree", "AXOutline"},
        {56, "table cell", "AXCell"},
        {38, "page tab list", "AXTabGroup"},
        {53, "split pane", "AXSplitGroup"},
        {50, "separator", "AXSplitter"},
        {42, "progress bar", "AXProgressIndicator"},
        {103, "level bar", "AXProgressIndicator"},
        {54, "status bar", "AXGroup"},
        {102, "info bar", "AXGroup"},
        {101, "notification", "AXGroup"},
        {75, "application", "AXApplication"},
        {0, "invalid", "AXUnknown"},
        {34, "menu bar", "AXUnknown"},
        {67, "unknown", "AXUnknown"},
        {64, "tool tip", "AXUnknown"},
        {4'000'000'000u, "none", "AXUnknown"},
    };
    for (auto const& row : rows)
        EXPECT_EQ(ax(row.role), row.ax) << row.name;
}

TEST(AtspiRoles, tellOneLineFromMany)
{
    EXPECT_EQ(ax(61, with(multiLine)), "AXTextArea");
    EXPECT_EQ(ax(79, with(multiLine)), "AXTextArea");
}

TEST(AtspiRoles, tellAComboBoxThatTakesText)
{
    EXPECT_EQ(ax(11, with(editable)), "AXComboBox");
}

TEST(AtspiRoles, tellToggleButtonsApart)
{
    EXPECT_EQ(ax(62, with(hasPopup)), "AXMenuButton");
    EXPECT_EQ(ax(62, with(expandable)), "AXDisclosureTriangle");
    EXPECT_EQ(ax(62, with(expandable).add(hasPopup)), "AXMenuButton");
}

TEST(AtspiRoles, tellAMenuBarsMenus)
{
    EXPECT_EQ(ax(33, {}, {.isInMenuBar = true}), "AXMenuItem");
}

TEST(AtspiRoles, tellDialogsOfTheApplicationFromThoseOfAPage)
{
    for (std::uint32_t const role : {16u, 2u, 19u, 9u, 22u}) {
        EXPECT_EQ(ax(role, {}, {.isInApplication = true}), "AXWindow/AXDialog") << role;
        EXPECT_EQ(ax(role), "AXGroup") << role;
    }
}

TEST(AtspiStates, areBits)
{
    AtspiStates const states{(std::uint64_t{1} << 42) | 2};

    EXPECT_TRUE(states.has(active));
    EXPECT_TRUE(states.has(hasPopup));
    EXPECT_FALSE(states.has(showing));
}

} // namespace zelvo::test
