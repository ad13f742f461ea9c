#include "fakes/FakeOperating.h"
#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

// Where nothing says where windows are, an element is operated by its own action, after the same checks.

namespace zelvo {
namespace {

using testing::IsEmpty;
using testing::SizeIs;
using Outcome = ElementOperating::Outcome;

class RouterPlacelessTest : public RouterHarness {
protected:
    static constexpr char const* clickIt =
        R"([{"type":"click_element","snapshotId":"snp_1","elementId":"e0"}])";
    static constexpr char const* setIt =
        R"([{"type":"set_value","snapshotId":"snp_1","elementId":"e0","text":"n\u00e9"}])";

    void SetUp() override
    {
        RouterHarness::SetUp();
        router.reset();
        makeRouter(AgentMode::connected, &operating);
        front("org.editor", "Editor");
        tree.isRelative = true;
        tree.names = {":1.7/field"};
        show("AXTextField", "Name");
    }
    void show(std::string const& role, std::string const& title)
    {
        UiElementInfo info;
        info.id = "e0";
        info.role = role;
        info.title = title;
        info.frame = {100, 200, 30, 10};
        tree.elements = {info};
        fakeProbe.hit = seen(role, title);
    }
    void beStrict() { platform.settings.setBoolean("zelvo.strictGuard", true); }
    json::object perform(std::string const& actions)
    {
        return call("actions.perform", R"({"actions":)" + actions + "}");
    }
    void expectNoPointer()
    {
        EXPECT_THAT(platform.posting.posted, IsEmpty());
        EXPECT_THAT(cursor.shown, IsEmpty());
        EXPECT_THAT(fakeProbe.points, IsEmpty());
    }

    FakeOperating operating;
};

TEST_F(RouterPlacelessTest, theTreeSaysSo)
{
    json::object const tree = call("ui.tree").at("result").as_object();
    EXPECT_EQ(tree.at("framesRelativeTo"), "window");
    EXPECT_EQ(tree.at("compact"), "[e0] textfield \"Name\" (in window 100,200 30x10)");

    json::object const waited = call("ui.wait", R"({"name":"Name"})").at("result").as_object();
    EXPECT_EQ(waited.at("framesRelativeTo"), "window");
}

TEST_F(RouterPlacelessTest, aTreeWithPlacesSaysNothing)
{
    tree.isRelative = false;
    json::object const tree = call("ui.tree").at("result").as_object();
    EXPECT_FALSE(tree.contains("framesRelativeTo"));
    EXPECT_EQ(tree.at("compact"), "[e0] textfield \"Name\" (100,200 30x10)");
}

TEST_F(RouterPlacelessTest, elementsNeedNoPictures)
{
    platform.systemAccess.granted.screenRecording = false;
    EXPECT_EQ(code(call("ui.tree")), "");
    EXPECT_EQ(code(call("ui.wait", R"({"name":"Name"})")), "");
    EXPECT_EQ(code(perform(clickIt)), "");
    for (char const* const other : {"screenshot", "screen.settle", "windows.list", "cursor.position"})
        EXPECT_EQ(code(call(other)), "permission_missing") << other;

    platform.systemAccess.granted.accessibility = false;
    EXPECT_EQ(code(call("ui.tree")), "permission_missing");

    // Where there are places, pictures are the price.
    platform.systemAccess.granted = {.accessibility = true, .screenRecording = false};
    tree.isRelative = false;
    EXPECT_EQ(code(call("ui.tree")), "permission_missing");
    EXPECT_EQ(code(call("ui.wait", R"({"name":"Name"})")), "permission_missing");
}

TEST_F(RouterPlacelessTest, pressesByTheElementsOwnAction)
{
    call("ui.tree");
    EXPECT_EQ(code(perform(clickIt)), "");

    ASSERT_THAT(operating.operations, SizeIs(1));
    EXPECT_EQ(operating.operations[0].element, (NamedElement{.pid = 100, .name = ":1.7/field"}));
    EXPECT_EQ(operating.operations[0].expected, *fakeProbe.hit);
    EXPECT_EQ(operating.operations[0].text, std::nullopt);
    expectNoPointer();
}

TEST_F(RouterPlacelessTest, givesTheWholeText)
{
    for (bool const isStrict : {false, true}) {
        if (isStrict)
            beStrict();
        operating.operations.clear();
        call("ui.tree");
        std::string const id = "snp_" + std::to_string(tree.asked.size());
        std::string action = setIt;
        action.replace(action.find("snp_1"), 5, id);
        EXPECT_EQ(code(perform(action)), "");
        ASSERT_THAT(operating.operations, SizeIs(1));
        EXPECT_EQ(operating.operations[0].text, "n\u00e9");
        expectNoPointer();
    }
}

TEST_F(RouterPlacelessTest, asksBeforeACommittingButton)
{
    for (bool const isStrict : {false, true}) {
        if (isStrict)
            beStrict();
        show("AXButton", "Send");
        call("ui.tree");
        std::string action = clickIt;
        action.replace(action.find("snp_1"), 5, "snp_" + std::to_string(tree.asked.size()));
        confirmations.questions.clear();
        operating.operations.clear();
        confirmations.decision = ConfirmationDecision::denied();
        EXPECT_EQ(code(perform(action)), "denied_by_user");
        EXPECT_THAT(confirmations.questions, SizeIs(1));
        EXPECT_THAT(operating.operations, IsEmpty());

        confirmations.decision = ConfirmationDecision::allowed(false);
        EXPECT_EQ(code(perform(action)), "");
        EXPECT_THAT(operating.operations, SizeIs(1));
        expectNoPointer();
    }
}

TEST_F(RouterPlacelessTest, whatChangesDuringTheQuestionIsNotPressed)
{
    show("AXButton", "Send");
    call("ui.tree");
    confirmations.onAsk = [this] { fakeProbe.hit = seen("AXButton", "Pay"); };
    EXPECT_EQ(code(perform(clickIt)), "snapshot_expired");
    EXPECT_THAT(operating.operations, IsEmpty());
}

/// An application that shows a harmless button to the judgement and another one to the press, under the same
/// identifier.
TEST_F(RouterPlacelessTest, whatChangesAfterTheJudgementIsNotPressed)
{
    show("AXButton", "Show");
    tree.elements[0].identifier = "same";
    call("ui.tree");
    int looks = 0;
    fakeProbe.onNamed = [&looks] {
        ProbedElement button = seen("AXButton", ++looks == 1 ? "Show" : "Pay");
        button.identifier = "same";
        return button;
    };
    EXPECT_EQ(code(perform(clickIt)), "snapshot_expired");
    EXPECT_EQ(looks, 2);
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_THAT(operating.operations, IsEmpty());
}

TEST_F(RouterPlacelessTest, anElementMayChangeBetweenTwoActions)
{
    show("AXButton", "Play");
    tree.elements[0].identifier = "same";
    call("ui.tree");
    fakeProbe.onNamed = [this] {
        ProbedElement button = seen("AXButton", operating.operations.empty() ? "Play" : "Pause");
        button.identifier = "same";
        return button;
    };
    EXPECT_EQ(code(perform(clickIt)), "");
    EXPECT_EQ(code(perform(clickIt)), "");
    EXPECT_THAT(operating.operations, SizeIs(2));
}

TEST_F(RouterPlacelessTest, saysWhyItWasNotDone)
{
    struct Case {
        Outcome outcome;
        char const* code;
    };
    for (auto const& [outcome, expected] :
         {Case{Outcome::impossible, "invalid_request"}, Case{Outcome::refused, "invalid_request"},
          Case{Outcome::changed, "snapshot_expired"}, Case{Outcome::stopped, "machine_busy"}}) {
        operating.outcome = outcome;
        call("ui.tree");
        std::string action = clickIt;
        action.replace(action.find("snp_1"), 5, "snp_" + std::to_string(tree.asked.size()));
        EXPECT_EQ(code(perform(action)), expected);
        expectNoPointer();
    }
}

TEST_F(RouterPlacelessTest, anElementWithoutANameCannotBeOperated)
{
    tree.names = {""};
    call("ui.tree");
    EXPECT_EQ(code(perform(clickIt)), "invalid_request");
    EXPECT_EQ(code(perform(setIt)), "invalid_request");
    EXPECT_THAT(operating.operations, IsEmpty());
    expectNoPointer();
}

TEST_F(RouterPlacelessTest, nothingIsDoneForAnotherApplicationAHiddenOneOrThisProgram)
{
    call("ui.tree");
    front("org.mail", "Mail");
    EXPECT_EQ(code(perform(clickIt)), "app_not_frontmost");
    EXPECT_EQ(code(perform(setIt)), "app_not_frontmost");
    front(ownBundleIdentifier, "Zelvo");
    EXPECT_EQ(code(perform(setIt)), "zelvo_ui_protected");
    EXPECT_NE(code(perform(clickIt)), "");
    front("org.editor", "Editor");
    run(platform.io, hiddenApps.add("org.editor"));
    EXPECT_EQ(code(perform(clickIt)), "hidden_app_active");
    EXPECT_EQ(code(perform(setIt)), "hidden_app_active");
    EXPECT_THAT(operating.operations, IsEmpty());
    expectNoPointer();
}

TEST_F(RouterPlacelessTest, whatPointsThereIsRefused)
{
    call("ui.tree");
    platform.windowList.failure = AgentError::machineUnavailable;
    for (char const* const action :
         {R"({"type":"click","x":115,"y":205})", R"({"type":"click","x":115,"y":205,"button":"right"})",
          R"({"type":"click","x":115,"y":205,"count":2})", R"({"type":"move","x":115,"y":205})",
          R"({"type":"mouse_down","x":115,"y":205})", R"({"type":"scroll","x":115,"y":205,"dy":9})",
          R"({"type":"drag","from":{"x":115,"y":205},"to":{"x":5,"y":5}})"})
        for (bool const isStrict : {false, true}) {
            platform.settings.setBoolean("zelvo.strictGuard", isStrict);
            EXPECT_EQ(code(perform("[" + std::string(action) + "]")), "machine_unavailable") << action;
        }
    expectNoPointer();
}

} // namespace
} // namespace zelvo
