// What the probe knows of dialogs and default buttons.
#include "unit/confirm/ElementProbeFixture.h"

namespace zelvo {
namespace {

class EveryDialogSubrole : public ElementProbeTest, public testing::WithParamInterface<std::string> {};

TEST_P(EveryDialogSubrole, makesTheFocusedWindowADialog)
{
    FakeElement window = ElementProbeTest::window({}, GetParam());
    window.title = "Delete?";
    window.description = "A question";
    window.identifier = "question";
    window.help = "Answer it";
    focusWindow(window);

    EXPECT_EQ(dialog(), (ProbedElement{.role = "AXWindow",
                                       .subrole = GetParam(),
                                       .title = "Delete?",
                                       .appName = "Acme Mail",
                                       .windowSubrole = GetParam()}));
}

INSTANTIATE_TEST_SUITE_P(ElementProbeTest,
                         EveryDialogSubrole,
                         testing::Values("AXDialog", "AXSystemDialog", "AXSystemFloatingWindow"));

TEST_F(ElementProbeTest, takesASheetForADialogWhateverItsSubrole)
{
    focusWindow({.role = "AXSheet", .title = "Save?"});

    auto const probed = dialog();

    ASSERT_TRUE(probed);
    EXPECT_TRUE(probed->isInSheet);
    EXPECT_FALSE(probed->windowSubrole);
}

TEST_F(ElementProbeTest, takesNoStandardWindowForADialog)
{
    focusWindow(window({}, "AXStandardWindow"));
    EXPECT_FALSE(dialog());

    app().focusedWindow.reset();
    EXPECT_FALSE(dialog());

    platform.desktop.front.reset();
    EXPECT_FALSE(dialog());
}

TEST_F(ElementProbeTest, takesNoWindowOfAnApplicationCalledLikeThisProgramForADialog)
{
    focusWindow(window({}, "AXDialog"));
    platform.desktop.front->names = {{ownBundleIdentifier}};

    EXPECT_FALSE(dialog());
}

TEST_F(ElementProbeTest, findsTheDefaultButtonOfTheWindow)
{
    FakeElement field{.role = "AXTextField", .focused = true};
    FakeElement send = button("Send");
    send.isDefault = true;
    focusWindow(window({field, button("Print"), within(2, send)}));

    auto const found = run(platform.io, probe.defaultButton());

    ASSERT_TRUE(found);
    EXPECT_EQ(found->title, "Send");
    EXPECT_EQ(found->windowSubrole, "AXStandardWindow");
    run(platform.io, hiddenApps.add("mail"));
    EXPECT_FALSE(run(platform.io, probe.defaultButton()));
}

TEST_F(ElementProbeTest, findsTheDefaultButtonOfTheFormInAPage)
{
    auto const form = [](std::string const& title, bool isFocused) {
        FakeElement field{.role = "AXTextField", .focused = isFocused};
        FakeElement submit = button(title);
        submit.isDefault = true;
        FakeElement group;
        group.children = {within(1, field), button("Clear"), submit};
        return group;
    };
    FakeElement page{.role = "AXWebArea"};
    page.children = {form("Search", false), form("Pay", true)};
    focusWindow(window({page}));

    auto const found = run(platform.io, probe.defaultButton());

    ASSERT_TRUE(found);
    EXPECT_EQ(found->title, "Pay");
}

TEST_F(ElementProbeTest, findsTheDefaultButtonOfAFormWithALongListToChooseFrom)
{
    FakeElement countries{.role = "AXPopUpButton"};
    countries.children = std::vector<FakeElement>(320, FakeElement{.role = "AXMenuItem"});
    FakeElement submit = button("Pay");
    submit.isDefault = true;
    FakeElement row;
    row.children = {FakeElement{.role = "AXTextField", .focused = true}, countries};
    FakeElement form{.isForm = true};
    form.children = {row, within(2, submit)};

    expectDefault(form, "Pay");
}

TEST_F(ElementProbeTest, aLargePartOfAFormHidesNoDefaultButtonBesideIt)
{
    FakeElement large;
    large.children = std::vector<FakeElement>(310, FakeElement{});
    large.children->push_back({.role = "AXTextField", .focused = true});
    FakeElement submit = button("Pay");
    submit.isDefault = true;
    FakeElement form{.isForm = true};
    form.children = {large, submit};

    expectDefault(form, "Pay");
}

TEST_F(ElementProbeTest, aFormWhoseDefaultButtonIsElsewhereHasAnUnknownOne)
{
    FakeElement form{.isForm = true};
    form.children = {within(1, FakeElement{.role = "AXTextField", .focused = true})};
    FakeElement submit = button("Search");
    submit.isDefault = true;
    FakeElement other{.isForm = true};
    other.children = {submit};
    FakeElement around;
    around.children = {form, other};
    FakeElement page{.role = "AXWebArea"};
    page.children = {around};
    focusWindow(window({page}));

    auto const found = run(platform.io, probe.defaultButton());

    ASSERT_TRUE(found);
    EXPECT_TRUE(found->isUnknown);
    EXPECT_FALSE(found->title);
}

TEST_F(ElementProbeTest, theCurrentItemOfAnOpenMenuGoesBeforeTheFocus)
{
    FakeElement item{.role = "AXMenuItem", .title = "Delete", .isCurrentItem = true};
    focusWindow(window({FakeElement{.role = "AXTextField", .title = "Name", .focused = true}, item}));

    EXPECT_EQ(run(platform.io, probe.currentElement())->title, "Delete");
    EXPECT_EQ(run(platform.io, probe.focusedElement())->title, "Name");
    focusWindow(window({FakeElement{.role = "AXTextField", .title = "Name", .focused = true}}));
    EXPECT_EQ(run(platform.io, probe.currentElement())->title, "Name");
}

TEST_F(ElementProbeTest, findsNoDefaultButtonForAFieldOutsideTheFormsOfAPage)
{
    FakeElement submit = button("Pay");
    submit.isDefault = true;
    FakeElement page{.role = "AXWebArea"};
    page.children = {within(1, FakeElement{.role = "AXTextField", .focused = true}), within(1, submit)};
    focusWindow(window({page}));

    EXPECT_FALSE(run(platform.io, probe.defaultButton()));
}

TEST_F(ElementProbeTest, findsNoDefaultButtonWhereNoneIsKnown)
{
    FakeElement field{.role = "AXTextField", .focused = true};
    focusWindow(window({field, button("Send")}));

    EXPECT_FALSE(run(platform.io, probe.defaultButton()));
}

} // namespace
} // namespace zelvo
