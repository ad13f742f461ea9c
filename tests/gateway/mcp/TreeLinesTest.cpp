#include "ZelvoGateway/mcp/TreeLines.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

using Lines = std::vector<std::string>;

ReferencedElement button(std::string reference, std::string name, std::int64_t x = 400)
{
    return {.reference = std::move(reference),
            .element = {
                .role = "button", .name = std::move(name), .frame = {.x = x, .y = 300, .w = 64, .h = 32}}};
}

ReferencedElement field(std::string value, bool isFocused = false, bool isEnabled = true)
{
    return {.reference = "t2",
            .element = {.role = "textfield",
                        .name = "Item",
                        .value = std::move(value),
                        .frame = {.x = 1, .y = 2, .w = 3, .h = 4},
                        .isEnabled = isEnabled,
                        .isFocused = isFocused}};
}

TEST(TreeLines, showAnElement)
{
    EXPECT_EQ(elementLine(button("b9", "Save")), R"([b9] button "Save" (400,300 64x32))");
    EXPECT_EQ(elementLine(field("Milk", true, false)),
              R"([t2] textfield "Item" value="Milk" (1,2 3x4) disabled focused)");
    ReferencedElement inWindow = button("b9", "Save");
    inWindow.element.frame.isRelative = true;
    EXPECT_EQ(elementLine(inWindow), R"([b9] button "Save" (in window 400,300 64x32))");
    EXPECT_EQ(elementLine({.reference = "e1", .element = {.role = "group"}}), "[e1] group (0,0 0x0)");
}

TEST(TreeLines, keepNamesInTheirQuotes)
{
    EXPECT_EQ(elementLine(button("b9", R"(Save" (1,1 2x2)\)")),
              R"([b9] button "Save\" (1,1 2x2)\\" (400,300 64x32))");
}

TEST(TreeLines, areBounded)
{
    std::vector<ReferencedElement> const tree = {button("b1", "A"), button("b2", "B"), button("b3", "C")};

    EXPECT_EQ(treeLines(tree, 3).size(), 3U);
    Lines const lines = treeLines(tree, 1);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1], "… 2 more elements");
}

TEST(TreeLines, showWhatChanged)
{
    std::vector<ReferencedElement> const before = {button("b1", "New"), field("Milk"), button("b3", "Open"),
                                                   button("b4", "Close")};
    std::vector<ReferencedElement> const after = {button("b1", "New"), field("Bread", true),
                                                  button("b9", "Save")};

    EXPECT_EQ(changeLines(before, after, 10),
              (Lines{"~ [t2] value=\"Bread\" focused", R"(+ [b9] button "Save" (400,300 64x32))",
                     "- [b3] [b4]", "= 1 unchanged"}));
}

TEST(TreeLines, showEachKindOfChange)
{
    auto const changed = [](ReferencedElement const& before, ReferencedElement const& after) {
        return changeLines({before}, {after}, 10).at(0);
    };

    EXPECT_EQ(changed(field("a"), field("")), R"(~ [t2] value="")");
    EXPECT_EQ(changed(button("b1", "A", 1), button("b1", "A", 2)), "~ [b1] (2,300 64x32)");
    EXPECT_EQ(changed(field("a", false, true), field("a", false, false)), "~ [t2] disabled");
    EXPECT_EQ(changed(field("a", false, false), field("a", false, true)), "~ [t2] enabled");
    EXPECT_EQ(changed(field("a", true), field("a")), "~ [t2] unfocused");
}

TEST(TreeLines, sayThatNothingChanged)
{
    EXPECT_EQ(changeLines({button("b1", "A")}, {button("b1", "A")}, 10), Lines{"= 1 unchanged"});
    EXPECT_EQ(changeLines({}, {}, 10), Lines{"= 0 unchanged"});
}

TEST(TreeLines, boundChanges)
{
    std::vector<ReferencedElement> const before = {button("b1", "A"), button("b2", "B"), button("b3", "C")};
    std::vector<ReferencedElement> const after = {button("b4", "A"), button("b5", "B"), button("b6", "C")};

    EXPECT_EQ(changeLines(before, after, 1), (Lines{R"(+ [b4] button "A" (400,300 64x32))",
                                                    "… 2 more changes", "- [b1] … 2 more", "= 0 unchanged"}));
}

} // namespace
} // namespace zelvo::service
