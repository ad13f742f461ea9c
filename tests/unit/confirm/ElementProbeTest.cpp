#include "unit/confirm/ElementProbeFixture.h"

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(ElementProbeTest, returnsIdentifierAndNameOfTheFrontmostApplication)
{
    EXPECT_EQ(front(), (FrontmostAppInfo{"org.acme.mail", "Acme Mail", {{"org.acme.mail", "mail"}}}));
}

TEST_F(ElementProbeTest, returnsTheIdentifierOfAnApplicationThatIsHiddenByAnotherName)
{
    run(platform.io, hiddenApps.add("Mail"));

    EXPECT_EQ(front(), (FrontmostAppInfo{"org.acme.mail", "Acme Mail", {{"org.acme.mail", "mail"}}, true}));
}

TEST_F(ElementProbeTest, returnsTheIdentifierOfAnApplicationWithoutAName)
{
    platform.desktop.front->localizedName = "";

    EXPECT_EQ(front(), (FrontmostAppInfo{"org.acme.mail", "org.acme.mail", {{"org.acme.mail", "mail"}}}));
}

TEST_F(ElementProbeTest, returnsNothingWithoutAFrontmostApplicationOrIdentifier)
{
    platform.desktop.front.reset();
    EXPECT_FALSE(front());

    platform.desktop.front = RunningApplication{.pid = 1, .names = {}, .localizedName = "Nameless"};
    EXPECT_FALSE(front());
}

TEST_F(ElementProbeTest, looksAnewAtEachQuestion)
{
    front();
    front();

    EXPECT_EQ(platform.desktop.looks, 2);
}

TEST_F(ElementProbeTest, returnsAllOfAButtonButItsValue)
{
    show(window({FakeElement{.role = "AXButton",
                             .subrole = "AXCloseButton",
                             .title = "Send",
                             .description = "Sends the message",
                             .value = "1",
                             .help = "Ctrl+Return",
                             .identifier = "send_button"}}));

    EXPECT_EQ(element(), (ProbedElement{.role = "AXButton",
                                        .subrole = "AXCloseButton",
                                        .title = "Send",
                                        .label = "Sends the message",
                                        .help = "Ctrl+Return",
                                        .identifier = "send_button",
                                        .appName = "Acme Mail",
                                        .windowSubrole = "AXStandardWindow",
                                        .isInSheet = false}));
    EXPECT_EQ(platform.elements.asked(AccessibilityAttribute::value, "Send"), 0u);
}

TEST_F(ElementProbeTest, countsAnEmptyTextAsAbsent)
{
    show(window({FakeElement{.role = "AXButton", .subrole = "", .title = "", .description = "", .help = ""}},
                ""));

    auto const probed = element();

    ASSERT_TRUE(probed);
    EXPECT_EQ(*probed, (ProbedElement{.role = "AXButton", .appName = "Acme Mail"}));
}

TEST_F(ElementProbeTest, returnsAnEmptyRoleForAnElementWithoutOne)
{
    show(window({FakeElement{.role = {}, .title = "Odd"}}));

    auto const probed = element();

    ASSERT_TRUE(probed);
    EXPECT_EQ(probed->role, "");
    EXPECT_EQ(probed->title, "Odd");
}

TEST_F(ElementProbeTest, takesAnIconThreeLevelsBelowAButtonForTheButton)
{
    show(window({button("Send", {within(2, {.role = "AXImage"})})}));

    EXPECT_EQ(element()->title, "Send");
}

TEST_F(ElementProbeTest, takesAnIconFourLevelsBelowAButtonForItself)
{
    show(window({button("Send", {within(3, {.role = "AXImage", .title = "Paper plane"})})}));

    EXPECT_EQ(element()->role, "AXImage");
    EXPECT_EQ(element()->title, "Paper plane");
}

TEST_F(ElementProbeTest, takesTheNearestOfTwoNestedButtons)
{
    show(window({button("Outer", {button("Inner", {{.role = "AXStaticText"}})})}));

    EXPECT_EQ(element()->title, "Inner");
}

TEST_F(ElementProbeTest, endsTheSearchForAButtonAtAParentThatCannotBeRead)
{
    show(window({button("Send", {{.role = "AXImage", .hidesParent = true}})}));

    EXPECT_EQ(element()->role, "AXImage");
}

class EveryButtonRole : public ElementProbeTest, public testing::WithParamInterface<std::string> {};

TEST_P(EveryButtonRole, isTakenForWhatIsPressed)
{
    show(window({{.role = GetParam(), .title = "It", .children = {{{.role = "AXStaticText"}}}}}));

    EXPECT_EQ(element()->role, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    ElementProbeTest,
    EveryButtonRole,
    testing::Values("AXButton", "AXLink", "AXMenuItem", "AXMenuButton", "AXCheckBox", "AXRadioButton"));

TEST_F(ElementProbeTest, takesNoTextFieldForAButton)
{
    show(window({{.role = "AXTextField", .children = {{{.role = "AXStaticText", .title = "words"}}}}}));

    EXPECT_EQ(element()->role, "AXStaticText");
}

TEST_F(ElementProbeTest, findsAButtonFiveLevelsUnderASheetInTheSheet)
{
    show({.role = "AXSheet", .subrole = "AXDialog", .children = {{within(4, button("Save"))}}});

    EXPECT_TRUE(element()->isInSheet);
    EXPECT_EQ(element()->windowSubrole, "AXDialog");
}

TEST_F(ElementProbeTest, endsTheSearchForTheWindowAtTheFirstSheet)
{
    show(window({{.role = "AXSheet", .children = {{button("Save")}}}}, "AXDialog"));

    EXPECT_TRUE(element()->isInSheet);
    EXPECT_FALSE(element()->windowSubrole);
}

TEST_F(ElementProbeTest, findsAButtonElevenLevelsUnderItsWindowInTheWindow)
{
    show(window({within(10, button("Save"))}, "AXDialog"));

    EXPECT_EQ(element()->windowSubrole, "AXDialog");
}

TEST_F(ElementProbeTest, knowsNoWindowOfAButtonTwelveLevelsUnderIt)
{
    show(window({within(11, button("Save"))}, "AXDialog"));

    EXPECT_FALSE(element()->windowSubrole);
    EXPECT_FALSE(element()->isInSheet);
}

TEST_F(ElementProbeTest, countsTheLevelsFromTheButtonAndNotFromItsIcon)
{
    show(window({within(10, button("Save", {within(2, {.role = "AXImage"})}))}, "AXDialog"));

    EXPECT_EQ(element()->windowSubrole, "AXDialog");
}

TEST_F(ElementProbeTest, knowsNoWindowAboveAParentThatCannotBeRead)
{
    FakeElement save = button("Save");
    save.hidesParent = true;
    show(window({save}, "AXDialog"));

    EXPECT_FALSE(element()->windowSubrole);
}

TEST_F(ElementProbeTest, seesNothingWhereNothingIs)
{
    show(window({button("Send")}));

    EXPECT_FALSE(element({300, 300})); // In the window, but on no element.
    EXPECT_FALSE(element({900, 900})); // In no window.
}

TEST_F(ElementProbeTest, seesNothingWithoutAWindowList)
{
    show(window({button("Send")}));
    platform.windowList.list.reset();

    EXPECT_FALSE(element());
}

TEST_F(ElementProbeTest, asksTheApplicationOfTheTopmostWindow)
{
    show(window({button("Below")}));
    platform.elements.applications[200].windows = {window({button("Above")})};
    WindowEntry const menu = {.id = 2, .ownerPid = 200, .layer = 25, .bounds = DesktopRect{10, 20, 50, 50}};
    platform.windowList.list->insert(platform.windowList.list->begin(), menu);

    EXPECT_EQ(element()->title, "Above");
    EXPECT_THAT(platform.elements.readers, ElementsAre(200));
}

TEST_F(ElementProbeTest, looksThroughTheHolesOfAShapedWindow)
{
    show(window({button("Below")}));
    WindowEntry const shaped = {.id = 2,
                                .ownerPid = 200,
                                .bounds = DesktopRect{0, 0, 500, 500},
                                .parts = std::vector<DesktopRect>{{100, 100, 10, 10}}};
    platform.windowList.list->insert(platform.windowList.list->begin(), shaped);

    EXPECT_EQ(element()->title, "Below");
}

TEST_F(ElementProbeTest, readsNothingOnADesktop)
{
    show(window({button("Icon")}));
    platform.windowList.list->front().isDesktop = true;

    EXPECT_FALSE(element());
    EXPECT_THAT(platform.elements.readers, IsEmpty());
}

TEST_F(ElementProbeTest, readsNothingUnderAWindowOfAnUnknownProcess)
{
    show(window({button("Below")}));
    platform.windowList.list->insert(platform.windowList.list->begin(),
                                     {.id = 2, .bounds = DesktopRect{0, 0, 500, 500}});

    EXPECT_FALSE(element());
    EXPECT_THAT(platform.elements.readers, IsEmpty());
}

TEST_F(ElementProbeTest, readsNoHiddenApplication)
{
    show(window({button("Secret")}));
    focusWindow(window({{.role = "AXTextField", .focused = true}}, "AXDialog"));
    run(platform.io, hiddenApps.add("mail"));

    EXPECT_FALSE(element());
    EXPECT_FALSE(dialog());
    EXPECT_FALSE(focused());
    EXPECT_THAT(platform.elements.readers, IsEmpty());
}

TEST_F(ElementProbeTest, readsNothingWhereAHiddenApplicationIsEmbedded)
{
    show(window({button("Secret")}));
    run(platform.io, hiddenApps.add("org.keys"));
    platform.windowList.list->front().embedded = {
        {.bounds = {0, 0, 50, 50}, .owner = {{"org.keys"}}, .ownerPid = 300}};

    EXPECT_FALSE(element());
    EXPECT_THAT(platform.elements.readers, IsEmpty());
}

TEST_F(ElementProbeTest, readsNoWindowOfThisProgram)
{
    std::int32_t const own = platform.machineFacts.pid;
    platform.elements.applications[own].windows = {window({button("Allow")}, "AXDialog")};
    platform.windowList.list->front().ownerPid = own;
    platform.desktop.front->pid = own;

    EXPECT_FALSE(element());
    EXPECT_FALSE(focused());
    EXPECT_FALSE(dialog());
    EXPECT_THAT(platform.elements.readers, IsEmpty());
}

TEST_F(ElementProbeTest, allowsProcessesEmbeddedAtThePointAndThoseWithoutAWindow)
{
    show(window({button("Send")}));
    platform.windowList.list->front().embedded = {
        {.bounds = {0, 0, 50, 50}, .owner = {{"org.guest"}}, .ownerPid = 300},
        {.bounds = {50, 50, 50, 50}, .owner = {{"org.other"}}, .ownerPid = 301}};
    for (std::int32_t const pid : {300, 301, 302})
        platform.desktop.running[pid] = RunningApplication{.pid = pid, .names = {}, .localizedName = ""};

    std::map<std::int32_t, bool> allowed;
    platform.elements.onQuestion = [&](FakeQuestion const&) {
        for (std::int32_t const pid : {300, 301, 302, 303, platform.machineFacts.pid})
            allowed[pid] = platform.elements.plans.back().allowsProcess(pid);
    };
    element();

    EXPECT_EQ(allowed, (std::map<std::int32_t, bool>{{300, true},
                                                     {301, false},
                                                     {302, false}, // Has its own windows.
                                                     {303, true},
                                                     {platform.machineFacts.pid, false}}));
}

TEST_F(ElementProbeTest, namesTheApplicationThatOwnsTheElement)
{
    FakeElement guest = button("Play");
    guest.pid = 300;
    show(window({guest}));
    platform.desktop.running[300] = RunningApplication{.pid = 300, .names = {}, .localizedName = "Player"};

    EXPECT_EQ(element()->appName, "Player");
}

TEST_F(ElementProbeTest, takesTheNameThatTheWindowListHas)
{
    show(window({button("Send")}));
    platform.desktop.running.clear();
    platform.windowList.list->front().ownerName = "Acme Mail";

    EXPECT_EQ(element()->appName, "Acme Mail");
}

TEST_F(ElementProbeTest, namesNoApplicationOfAProcessThatIsNone)
{
    show(window({button("Send")}));
    platform.desktop.running.clear();

    EXPECT_FALSE(element()->appName);
}

TEST_F(ElementProbeTest, givesUpAfterASecond)
{
    show(window({button("Send")}));
    Instant const asked = platform.time.now();

    element();

    ASSERT_EQ(platform.elements.plans.size(), 1u);
    EXPECT_EQ(platform.elements.plans.front().deadline - asked, 1s);
}

TEST_F(ElementProbeTest, seesNothingWithoutThePermissionButTheApplicationInFront)
{
    show(window({button("Send")}));
    focusWindow(window({{.role = "AXTextField", .focused = true}}, "AXDialog"));
    platform.systemAccess.granted.accessibility = false;

    EXPECT_FALSE(element());
    EXPECT_FALSE(dialog());
    EXPECT_FALSE(focused());
    EXPECT_TRUE(front());
    EXPECT_THAT(platform.elements.readers, IsEmpty());
}

TEST_F(ElementProbeTest, describesTheFocusedElementAsItIs)
{
    focusWindow(
        window({button("Send", {{.role = "AXImage", .title = "Icon", .focused = true}})}, "AXDialog"));

    EXPECT_EQ(focused(),
              (ProbedElement{
                  .role = "AXImage", .title = "Icon", .appName = "Acme Mail", .windowSubrole = "AXDialog"}));
}

TEST_F(ElementProbeTest, seesNoFocusWhereThereIsNone)
{
    focusWindow(window({button("Send")}));
    EXPECT_FALSE(focused());

    platform.desktop.front.reset();
    EXPECT_FALSE(focused());
}

} // namespace
} // namespace zelvo
