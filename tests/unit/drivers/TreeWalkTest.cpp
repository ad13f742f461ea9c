#include "drivers/TreeWalk.h"

#include "fakes/FakeAccessibility.h"
#include "fakes/ManualClock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Attribute = AccessibilityAttribute;

std::vector<std::string> titlesOf(std::vector<UiElementInfo> const& elements)
{
    std::vector<std::string> titles;
    for (UiElementInfo const& info : elements)
        titles.push_back(info.title.value_or("-"));
    return titles;
}

std::vector<std::string> idsOf(std::vector<UiElementInfo> const& elements)
{
    std::vector<std::string> ids;
    for (UiElementInfo const& info : elements)
        ids.push_back(info.id);
    return ids;
}

FakeElement button(std::string title)
{
    return {.role = "AXButton", .title = std::move(title)};
}

/// Nested elements, each the only child of the one before; "0" is outermost.
FakeElement chain(int length)
{
    FakeElement inner{.role = "AXStaticText", .title = std::to_string(length - 1)};
    for (int level = length - 2; level >= 0; --level) {
        FakeElement outer{.role = "AXStaticText", .title = std::to_string(level)};
        outer.children->push_back(std::move(inner));
        inner = std::move(outer);
    }
    return inner;
}

class TreeWalkTest : public testing::Test {
protected:
    FakeAccessibility system;
    ManualClock clock;
    TreeLimits limits;
    bool interactiveOnly = false;
    bool truncated = false;

    std::vector<UiElementInfo> walk(std::vector<FakeElement> roots)
    {
        system.applications[1].windows = std::move(roots);
        auto const reader = system.reader(1, limits.messagingTimeout);
        TreeWalk walk(*reader, clock, limits, clock.now() + limits.totalTimeout, interactiveOnly);
        walk.run(*reader->elements(reader->application(), Attribute::windows));
        truncated = walk.truncated;
        return walk.collected;
    }
    UiElementInfo only(FakeElement element)
    {
        auto const found = walk({std::move(element)});
        EXPECT_EQ(found.size(), 1u);
        return found.empty() ? UiElementInfo{} : found.front();
    }
};

TEST_F(TreeWalkTest, describesAnElementWhole)
{
    UiElementInfo const expected{.id = "e0",
                                 .role = "AXTextField",
                                 .subrole = "AXSearchField",
                                 .title = "Find",
                                 .elementDescription = "Looks for a word",
                                 .value = "fox",
                                 .identifier = "search",
                                 .frame = {10, 20, 100, 50},
                                 .enabled = false,
                                 .focused = true,
                                 .actions = {"AXPress", "AXShowMenu"}};
    EXPECT_EQ(only({.role = "AXTextField",
                    .subrole = "AXSearchField",
                    .title = "Find",
                    .description = "Looks for a word",
                    .value = "fox",
                    .identifier = "search",
                    .enabled = false,
                    .focused = true,
                    .actions = {"AXPress", "AXShowMenu"}}),
              expected);
}

TEST_F(TreeWalkTest, takesWhatCannotBeReadAsEnabledAndNotFocused)
{
    UiElementInfo const info = only(button("Send"));
    EXPECT_TRUE(info.enabled);
    EXPECT_FALSE(info.focused);
    EXPECT_THAT(info.actions, IsEmpty());
    EXPECT_EQ(info.subrole, std::nullopt);
    EXPECT_EQ(info.value, std::nullopt);
}

TEST_F(TreeWalkTest, stopsWholeAtTheFirstElementBelowTheDeepestLevel)
{
    FakeElement window{.role = "AXWindow", .title = "window"};
    window.children->push_back(chain(26));
    window.children->push_back(button("later"));

    auto const found = walk({window});

    EXPECT_TRUE(truncated);
    EXPECT_EQ(found.size(), 26u); // The levels 0 to 25.
    EXPECT_EQ(found.back().title, "24");
}

TEST_F(TreeWalkTest, readsAChainThatEndsOnTheDeepestLevel)
{
    EXPECT_EQ(walk({chain(26)}).size(), 26u);
    EXPECT_FALSE(truncated);
}

TEST_F(TreeWalkTest, isNotTruncatedWhenTheLastElementReachesTheLimit)
{
    limits.maxElements = 3;
    EXPECT_THAT(titlesOf(walk({button("a"), button("b"), button("c")})), ElementsAre("a", "b", "c"));
    EXPECT_FALSE(truncated);
}

TEST_F(TreeWalkTest, isTruncatedByOneMoreElementThanTheLimit)
{
    limits.maxElements = 3;
    FakeElement const dropped{.role = "AXGroup"};
    EXPECT_THAT(titlesOf(walk({button("a"), button("b"), button("c"), dropped})), ElementsAre("a", "b", "c"));
    EXPECT_TRUE(truncated);
}

TEST_F(TreeWalkTest, endsWhereTheTextsOfAllElementsTogetherReachTheLimit)
{
    std::string const text(1u << 20, 'x');
    FakeElement const field{.role = "AXTextField",
                            .title = text,
                            .description = text,
                            .value = text, // Cut to 200 characters.
                            .identifier = text,
                            .actions = {text}};

    auto const found = walk({button("a"), field, button("b"), field, button("c")});

    EXPECT_THAT(idsOf(found), ElementsAre("e0", "e1", "e2"));
    EXPECT_TRUE(truncated);
    EXPECT_EQ(walk({field, button("d")}).size(), 2u);
    EXPECT_FALSE(truncated);
}

TEST_F(TreeWalkTest, keepsOnlyInteractiveElementsWithConsecutiveIds)
{
    interactiveOnly = true;
    FakeElement left;
    left.children = {button("a")};
    FakeElement right;
    right.children = {button("b"), button("c")};
    FakeElement window{.role = "AXWindow", .title = "window"};
    window.children = {left, right};

    auto const found = walk({window});

    EXPECT_THAT(titlesOf(found), ElementsAre("a", "b", "c"));
    EXPECT_THAT(idsOf(found), ElementsAre("e0", "e1", "e2"));
    EXPECT_EQ(system.asked(Attribute::title, "window"), 0u);
}

TEST_F(TreeWalkTest, keepsAContainerWhoseValueSaysSomething)
{
    EXPECT_EQ(only({.title = "   ", .description = "", .value = "x"}).value, "x");
}

TEST_F(TreeWalkTest, dropsAContainerOfBlanksButWalksItsChildren)
{
    FakeElement group{.title = "   ", .description = "", .value = "  "};
    group.children = {button("inside")};
    EXPECT_THAT(titlesOf(walk({group})), ElementsAre("inside"));
}

TEST_F(TreeWalkTest, takesEveryKindOfBlankForNothing)
{
    EXPECT_THAT(walk({FakeElement{.title = "\n\t", .description = "\u00a0\u2028", .value = "\u3000"}}),
                IsEmpty());
}

TEST_F(TreeWalkTest, keepsAContainerWithAnAction)
{
    EXPECT_EQ(only({.actions = {"AXPress"}}).role, "AXGroup");
}

class ContainerRole : public TreeWalkTest, public testing::WithParamInterface<char const*> {};

TEST_P(ContainerRole, isDroppedWithNothingToSay)
{
    EXPECT_THAT(walk({FakeElement{.role = GetParam()}}), IsEmpty());
    EXPECT_EQ(only({.role = GetParam(), .title = "t"}).title, "t");
    EXPECT_EQ(only({.role = GetParam(), .description = "d"}).elementDescription, "d");
}

INSTANTIATE_TEST_SUITE_P(
    All,
    ContainerRole,
    testing::Values("AXGroup", "AXLayoutArea", "AXLayoutItem", "AXSplitGroup", "AXUnknown"));

/// Roles that are neither interactive nor containers.
class PlainRole : public TreeWalkTest, public testing::WithParamInterface<char const*> {};

TEST_P(PlainRole, isKeptWithNothingToSayButNotAmongInteractiveOnes)
{
    EXPECT_EQ(only({.role = GetParam()}).role, GetParam());
    interactiveOnly = true;
    EXPECT_THAT(walk({FakeElement{.role = GetParam(), .title = "t", .actions = {"AXPress"}}}), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All,
                         PlainRole,
                         testing::Values("AXWindow",
                                         "AXMenu",
                                         "AXStaticText",
                                         "AXHeading",
                                         "AXImage",
                                         "AXWebArea",
                                         "AXScrollArea",
                                         "AXScrollBar",
                                         "AXToolbar",
                                         "AXList",
                                         "AXRow",
                                         "AXTable",
                                         "AXOutline",
                                         "AXCell",
                                         "AXTabGroup",
                                         "AXSplitter",
                                         "AXProgressIndicator",
                                         "AXApplication"));

class InteractiveRole : public TreeWalkTest, public testing::WithParamInterface<char const*> {};

TEST_P(InteractiveRole, isKept)
{
    interactiveOnly = true;
    EXPECT_EQ(only({.role = GetParam()}).role, GetParam());
}

INSTANTIATE_TEST_SUITE_P(All,
                         InteractiveRole,
                         testing::Values("AXButton",
                                         "AXTextField",
                                         "AXTextArea",
                                         "AXSecureTextField",
                                         "AXLink",
                                         "AXCheckBox",
                                         "AXRadioButton",
                                         "AXPopUpButton",
                                         "AXMenuItem",
                                         "AXMenuButton",
                                         "AXComboBox",
                                         "AXSlider",
                                         "AXTab",
                                         "AXDisclosureTriangle",
                                         "AXSegmentedControl"));

TEST_F(TreeWalkTest, dropsOtherRolesWhenOnlyInteractiveOnesAreWanted)
{
    interactiveOnly = true;
    EXPECT_THAT(walk({FakeElement{.role = "AXStaticText", .title = "t"}, FakeElement{.role = "AXWindow"}}),
                IsEmpty());
}

TEST_F(TreeWalkTest, neverAsksForTheValueOfAPasswordField)
{
    FakeElement const field{.role = "AXSecureTextField", .title = "Password", .value = "hunter2"};
    EXPECT_EQ(only(field).value, std::nullopt);
    interactiveOnly = true;
    EXPECT_EQ(only(field).value, std::nullopt);
    EXPECT_EQ(system.asked(Attribute::value, "Password"), 0u);
}

TEST_F(TreeWalkTest, dropsAnElementOfNoWidthAndKeepsItsChildren)
{
    FakeElement flat{.role = "AXButton", .title = "flat", .size = DesktopSize{0, 10}};
    flat.children = {button("inside")};
    EXPECT_THAT(titlesOf(walk({flat})), ElementsAre("inside"));
    EXPECT_EQ(system.asked(Attribute::title, "flat"), 0u); // Nothing but its frame is read.
}

TEST_F(TreeWalkTest, dropsElementsWithoutAVisibleExtent)
{
    EXPECT_THAT(
        walk({FakeElement{.role = "AXButton", .position = {}}, FakeElement{.role = "AXButton", .size = {}},
              FakeElement{.role = "AXButton", .size = DesktopSize{10, -1}},
              FakeElement{.role = "AXButton", .size = DesktopSize{std::nan(""), 1}}}),
        IsEmpty());
}

TEST_F(TreeWalkTest, dropsAnElementWithoutARole)
{
    FakeElement mute{.role = {}, .title = "mute"};
    mute.children = {button("inside")};
    EXPECT_THAT(titlesOf(walk({mute})), ElementsAre("inside"));
}

TEST_F(TreeWalkTest, cutsAValueToItsFirstCharacters)
{
    std::string letters;
    for (int i = 0; i < 300; ++i)
        letters += "é"; // Two bytes each.
    auto const value = only({.role = "AXTextArea", .value = letters}).value;
    EXPECT_EQ(value, letters.substr(0, 400));
}

TEST_F(TreeWalkTest, countsCharactersAsAPersonSeesThem)
{
    std::string const flag = "\U0001F1E9\U0001F1EA"; // One character of two code points.
    std::string flags;
    for (int i = 0; i < 300; ++i)
        flags += flag;
    EXPECT_EQ(only({.role = "AXTextArea", .value = flags}).value, flags.substr(0, 200 * flag.size()));
}

TEST_F(TreeWalkTest, leavesAValueOfTheLongestLengthAsItIs)
{
    std::string const letters(200, 'x');
    EXPECT_EQ(only({.role = "AXTextArea", .value = letters}).value, letters);
}

TEST_F(TreeWalkTest, goesOnWhenChildrenCannotBeRead)
{
    FakeElement silent = button("silent");
    silent.children.reset();
    EXPECT_THAT(titlesOf(walk({silent, button("next")})), ElementsAre("silent", "next"));
    EXPECT_FALSE(truncated);
}

TEST_F(TreeWalkTest, endsWhenItsTimeIsOver)
{
    system.onQuestion = [this](FakeQuestion const& question) {
        if (question == FakeQuestion{Attribute::role, "b"})
            clock.jump(limits.totalTimeout + 1ms);
    };
    FakeElement b = button("b");
    b.children = {button("inside")};
    EXPECT_THAT(titlesOf(walk({button("a"), b, button("c")})), ElementsAre("a", "b"));
    EXPECT_TRUE(truncated);
}

TEST_F(TreeWalkTest, goesOnAtTheVeryEndOfItsTime)
{
    system.onQuestion = [this](FakeQuestion const& question) {
        if (question == FakeQuestion{Attribute::role, "a"})
            clock.jump(limits.totalTimeout);
    };
    EXPECT_THAT(titlesOf(walk({button("a"), button("b")})), ElementsAre("a", "b"));
    EXPECT_FALSE(truncated);
}

} // namespace
} // namespace zelvo
