#include "drivers/WantedElement.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Until = WantedElement::Until;

UiElementInfo element(std::string id, std::string role, std::string title)
{
    return {.id = std::move(id), .role = std::move(role), .title = std::move(title), .frame = {1, 2, 3, 4}};
}

UiTreeSnapshot snapshotOf(std::vector<UiElementInfo> elements)
{
    UiTreeSnapshot snapshot;
    snapshot.snapshotId = "snp_1";
    snapshot.elements = std::move(elements);
    return snapshot;
}

/// The id of the element that is found; empty if none is.
std::string found(WantedElement const& wanted, std::vector<UiElementInfo> elements)
{
    WantedElement::Finding const finding = wanted.in(snapshotOf(std::move(elements)));
    EXPECT_EQ(finding.isMatched, finding.element.has_value());
    return finding.element ? finding.element->id : "";
}

TEST(WantedElement, roleIsTheWholeRole)
{
    std::vector const elements{element("e0", "AXMenuButton", "Save"), element("e1", "AXButton", "Save")};
    EXPECT_EQ(found({.role = "AXButton"}, elements), "e1");
    EXPECT_EQ(found({.role = "Button"}, elements), "");
    EXPECT_EQ(found({.role = "axbutton"}, elements), "");
}

TEST(WantedElement, nameIsAPartOfTheTitleInAnyCase)
{
    std::vector const elements{element("e0", "AXButton", "Save as…"), element("e1", "AXButton", "Отправить"),
                               element("e2", "AXButton", "ΟΔΟΣ"), element("e3", "AXButton", "Straße")};
    EXPECT_EQ(found({.name = "AVE A"}, elements), "e0");
    EXPECT_EQ(found({.name = "отправ"}, elements), "e1");
    EXPECT_EQ(found({.name = "οδοσ"}, elements), "e2");
    EXPECT_EQ(found({.name = "STRASSE"}, elements), "e3");
    EXPECT_EQ(found({.name = "Send"}, elements), "");
}

TEST(WantedElement, nameMayBeAPartOfTheDescription)
{
    UiElementInfo described = element("e0", "AXButton", "");
    described.elementDescription = "Closes the window";
    described.title.reset();
    described.value = "Save";
    described.identifier = "save";
    EXPECT_EQ(found({.name = "closes"}, {described}), "e0");
    EXPECT_EQ(found({.name = "Save"}, {described}), "");
}

TEST(WantedElement, valueIsTheWholeValue)
{
    UiElementInfo field = element("e0", "AXTextField", "Name");
    field.value = "Bread";
    EXPECT_EQ(found({.value = "Bread"}, {field}), "e0");
    EXPECT_EQ(found({.value = "bread"}, {field}), "");
    EXPECT_EQ(found({.value = "Brea"}, {field}), "");
    EXPECT_EQ(found({.value = ""}, {field}), "");
    field.value = "";
    EXPECT_EQ(found({.value = ""}, {field}), "e0");
    field.value.reset(); // As in a password field.
    EXPECT_EQ(found({.value = ""}, {field}), "");
}

TEST(WantedElement, valueIsComparedAsFarAsItIsRead)
{
    UiElementInfo field = element("e0", "AXTextArea", "");
    std::string read;
    for (int i = 0; i < 200; ++i)
        read += "é";
    field.value = read;
    EXPECT_EQ(found({.value = read + " and more"}, {field}), "e0");
    EXPECT_EQ(found({.value = read}, {field}), "e0");
    EXPECT_EQ(found({.value = read.substr(2)}, {field}), "");
}

TEST(WantedElement, everyCriterionMustHold)
{
    std::vector const elements{element("e0", "AXButton", "Cancel"), element("e1", "AXLink", "Save"),
                               element("e2", "AXButton", "Save")};
    EXPECT_EQ(found({.role = "AXButton", .name = "save"}, elements), "e2");
    EXPECT_EQ(found({.role = "AXButton", .name = "save", .value = "x"}, elements), "");
}

TEST(WantedElement, firstOneThatIsEnabledOrFocusedCounts)
{
    UiElementInfo off = element("e0", "AXButton", "Save");
    off.enabled = false;
    UiElementInfo on = element("e1", "AXButton", "Save");
    UiElementInfo focused = element("e2", "AXButton", "Save");
    focused.focused = true;
    EXPECT_EQ(found({.name = "Save"}, {off, on, focused}), "e0");
    EXPECT_EQ(found({.name = "Save", .until = Until::enabled}, {off, on, focused}), "e1");
    EXPECT_EQ(found({.name = "Save", .until = Until::focused}, {off, on, focused}), "e2");
    EXPECT_EQ(found({.name = "Save", .until = Until::enabled}, {off}), "");
    EXPECT_EQ(found({.name = "Save", .until = Until::focused}, {off, on}), "");
}

TEST(WantedElement, hasDisappearedIfNoneIsLeft)
{
    WantedElement const wanted{.name = "Save", .until = Until::disappears};
    EXPECT_FALSE(wanted.in(snapshotOf({element("e0", "AXButton", "Save")})).isMatched);
    WantedElement::Finding const finding = wanted.in(snapshotOf({element("e0", "AXButton", "Cancel")}));
    EXPECT_TRUE(finding.isMatched);
    EXPECT_FALSE(finding.element);
}

TEST(WantedElement, whatALimitCutOffHasNotDisappeared)
{
    WantedElement const wanted{.name = "Save", .until = Until::disappears};
    UiTreeSnapshot snapshot = snapshotOf({element("e0", "AXButton", "Cancel")});
    snapshot.truncated = true;
    EXPECT_FALSE(wanted.in(snapshot).isMatched);
}

TEST(WantedElement, isOperableByItsRoleAlone)
{
    EXPECT_TRUE((WantedElement{.role = "AXButton"}).isOperable());
    EXPECT_FALSE((WantedElement{.role = "AXWindow"}).isOperable());
    EXPECT_FALSE((WantedElement{.name = "Save"}).isOperable());
}

} // namespace
} // namespace zelvo
