#include "unit/router/RouterConfirmationsFixture.h"

namespace zelvo {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(RouterConfirmationsTest, aSubmitButtonIsAskedForBeforeAnythingIsShownOrPosted)
{
    fakeProbe.hit = seen("AXButton", "Send");
    confirmations.onAsk = [&] {
        EXPECT_THAT(cursor.shown, IsEmpty());
        EXPECT_THAT(platform.posting.posted, IsEmpty());
    };
    EXPECT_EQ(code(clickAt()), "");
    EXPECT_THAT(confirmations.questions,
                ElementsAre(FakeConfirming::Question{submit("Send"), "Acme", 60'000}));
    EXPECT_THAT(fakeProbe.points, AllOf(SizeIs(2), Each(DesktopPoint{10, 20}))); // Again after the yes.
    EXPECT_THAT(platform.posting.posted, SizeIs(2));
}

TEST_F(RouterConfirmationsTest, aNoIsAnErrorAndNothingIsPressed)
{
    fakeProbe.hit = seen("AXButton", "Send");
    confirmations.decision = ConfirmationDecision::denied();
    EXPECT_EQ(code(clickAt()), "denied_by_user");
    confirmations.decision = ConfirmationDecision::timedOut();
    EXPECT_EQ(code(clickAt()), "confirmation_timeout");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
    EXPECT_THAT(cursor.shown, IsEmpty());
    EXPECT_EQ(code(perform("[]")), "");
}

TEST_F(RouterConfirmationsTest, whatTheProbeDoesNotSeeIsPressed)
{
    EXPECT_EQ(code(clickAt()), "");
    fakeProbe.hit = seen("AXStaticText", "Send");
    EXPECT_EQ(code(clickAt()), "");
    EXPECT_THAT(confirmations.questions, IsEmpty());
}

TEST_F(RouterConfirmationsTest, aRightClickOnASubmitButtonRunsWithoutAQuestion)
{
    fakeProbe.hit = seen("AXButton", "Send");
    for (char const* const action :
         {R"({"type":"click","x":1,"y":1,"button":"right"})",
          R"({"type":"click","x":1,"y":1,"button":"middle"})", R"({"type":"mouse_down","x":1,"y":1})",
          R"({"type":"mouse_up","x":1,"y":1})", R"({"type":"scroll","x":1,"y":1})",
          R"({"type":"move","x":1,"y":1})"})
        EXPECT_EQ(code(perform("[" + std::string(action) + "]")), "") << action;
    std::optional<json::object> reply;
    start(frame("actions.perform",
                R"({"actions":[{"type":"drag","from":{"x":1,"y":1},"to":{"x":2,"y":2},"durationMs":0},
                {"type":"type","text":"\n"}]})"),
          reply);
    platform.time.advance(1s);
    EXPECT_EQ(code(*reply), "");
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_THAT(fakeProbe.points, IsEmpty());
}

TEST_F(RouterConfirmationsTest, aSwitchThatIsOffAsksNothing)
{
    ConfirmationPolicy policy;
    policy.confirmDangerousActions = false;
    setPolicy(policy);
    fakeProbe.hit = seen("AXButton", "Send");
    EXPECT_EQ(code(clickAt()), "");
    EXPECT_EQ(code(press(R"(["cmd","s"])")), "");
    EXPECT_THAT(confirmations.questions, IsEmpty());

    fakeProbe.hit->windowSubrole = "AXDialog";
    EXPECT_EQ(code(clickAt()), "");
    EXPECT_THAT(asked(), ElementsAre(dialogButton("Send", localized("common.app"))));
}

TEST_F(RouterConfirmationsTest, cloudModeAsksNothingButChecksHiddenApplications)
{
    makeRouter(AgentMode::cloud);
    fakeProbe.hit = seen("AXButton", "Send");
    EXPECT_EQ(code(clickAt()), "");
    EXPECT_EQ(code(press(R"(["cmd","s"])")), "");
    EXPECT_THAT(confirmations.questions, IsEmpty());
    run(platform.io, hiddenApps.add("org.form"));
    EXPECT_EQ(code(press(R"(["cmd","s"])")), "hidden_app_active");
}

TEST_F(RouterConfirmationsTest, hiddenAndOwnWindowsAreRefusedBeforeAnybodyIsAsked)
{
    fakeProbe.hit = seen("AXButton", "Send");
    platform.windowList.list = {{ownWindow({0, 0, 50, 50})}};
    EXPECT_EQ(code(clickAt()), "zelvo_ui_protected");
    run(platform.io, hiddenApps.add("org.form"));
    EXPECT_EQ(code(press(R"(["cmd","s"])")), "hidden_app_active");
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_THAT(fakeProbe.points, IsEmpty());
}

TEST_F(RouterConfirmationsTest, anElementIsJudgedAtItsCentre)
{
    std::string const action = elementClick("AXButton", "Pay now");
    fakeProbe.hit = seen("AXButton", "Pay now");
    EXPECT_EQ(code(perform(action)), "");
    EXPECT_THAT(asked(), ElementsAre(submit("Pay now")));
    EXPECT_THAT(fakeProbe.points, AllOf(SizeIs(3), Each(DesktopPoint{115, 205.5})));
}

TEST_F(RouterConfirmationsTest, anUnknownElementIsRefusedBeforeAnybodyIsAsked)
{
    elementClick("AXButton", "Pay");
    fakeProbe.hit = seen("AXButton", "Pay");
    EXPECT_EQ(code(perform(R"([{"type":"click_element","snapshotId":"snp_1","elementId":"e1"}])")),
              "invalid_request");
    EXPECT_EQ(code(perform(R"([{"type":"click_element","snapshotId":"snp_2","elementId":"e0"}])")),
              "snapshot_expired");
    EXPECT_THAT(confirmations.questions, IsEmpty());
}

TEST_F(RouterConfirmationsTest, anElementThatTheFirstLookDoesNotFindIsNotClicked)
{
    std::string const click = elementClick("AXButton", "Send");
    fakeProbe.hitAt = [this](DesktopPoint) {
        return fakeProbe.points.size() == 1 ? std::nullopt : std::optional(seen("AXButton", "Send"));
    };
    EXPECT_EQ(code(perform(click)), "snapshot_expired"); // Its application answers only the second.
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterConfirmationsTest, aShortcutIsAskedForWithItsMeaning)
{
    EXPECT_EQ(code(press(R"(["Command","S"])")), "");
    EXPECT_EQ(code(press(R"(["ctrl","s"])")), "");
    EXPECT_THAT(asked(), ElementsAre(shortcut("cmd+s", "Form", "shortcut.save"),
                                     shortcut("ctrl+s", "Form", "shortcut.save")));
    EXPECT_EQ(confirmations.questions.front().platformName, "Acme");
    EXPECT_EQ(confirmations.questions.front().timeoutMs, 60'000);
    EXPECT_EQ(fakeProbe.dialogLooks, 0);
}

TEST_F(RouterConfirmationsTest, aShortcutWithNothingInFrontNamesAnApplication)
{
    platform.desktop.front.reset();
    EXPECT_EQ(code(press(R"(["cmd","s"])")), "");
    EXPECT_THAT(asked(), ElementsAre(shortcut("cmd+s", localized("common.app"), "shortcut.save")));
}

TEST_F(RouterConfirmationsTest, returnInAMessengerSends)
{
    front("com.hnc.Discord", "Discord");
    fakeProbe.dialog = seen("AXWindow", "Settings");
    EXPECT_EQ(code(press(R"(["enter"])")), "");
    EXPECT_THAT(asked(), ElementsAre(shortcut("return", "Discord", "shortcut.sendMessage")));
}

TEST_F(RouterConfirmationsTest, returnInADialogPressesItsDefaultButton)
{
    fakeProbe.dialog = seen("AXWindow", "Really?");
    fakeProbe.dialog->appName = "Helper";
    fakeProbe.focused = seen("AXButton", "Send");
    EXPECT_EQ(code(press(R"(["ENTER"])")), "");
    fakeProbe.dialog->appName.reset();
    EXPECT_EQ(code(press(R"(["space"])")), "");
    platform.desktop.front.reset();
    EXPECT_EQ(code(press(R"(["return"])")), "");
    EXPECT_THAT(asked(), ElementsAre(dialogButton(localized("confirm.defaultButton", {"return"}), "Helper"),
                                     dialogButton(localized("confirm.defaultButton", {"space"}), "Form"),
                                     dialogButton(localized("confirm.defaultButton", {"return"}),
                                                  localized("common.app"))));
    EXPECT_EQ(fakeProbe.focusLooks, 0);
}

TEST_F(RouterConfirmationsTest, aDialogThatNeedsNoYesEndsTheLooking)
{
    ConfirmationPolicy policy;
    policy.confirmDialogActions = false;
    setPolicy(policy);
    fakeProbe.dialog = seen("AXWindow", "Really?");
    fakeProbe.focused = seen("AXButton", "Send");
    EXPECT_EQ(code(press(R"(["return"])")), "");
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_EQ(fakeProbe.focusLooks, 0);
}

TEST_F(RouterConfirmationsTest, returnPressesTheFocusedButton)
{
    fakeProbe.focused = seen("AXButton", "Delete all");
    EXPECT_EQ(code(press(R"(["space"])")), "");
    fakeProbe.focused = seen("AXTextField", "Send to");
    EXPECT_EQ(code(press(R"(["return"])")), "");
    fakeProbe.focused.reset();
    EXPECT_EQ(code(press(R"(["return"])")), "");
    EXPECT_THAT(asked(), ElementsAre(submit("Delete all")));
}

TEST_F(RouterConfirmationsTest, otherKeysAreNotLookedAt)
{
    fakeProbe.dialog = seen("AXWindow", "Really?");
    fakeProbe.focused = seen("AXButton", "Send");
    for (char const* const keys : {R"(["a"])", R"(["shift","return"])", R"(["tab"])", R"(["cmd","q"])"})
        EXPECT_EQ(code(press(keys)), "") << keys;
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_EQ(fakeProbe.dialogLooks, 0);
}

TEST_F(RouterConfirmationsTest, aSecondBatchIsBusyWhileAPersonIsAsked)
{
    fakeProbe.hit = seen("AXButton", "Send");
    confirmations.decision.reset();
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":[{"type":"click","x":1,"y":1}]})"), reply);
    EXPECT_FALSE(reply);
    EXPECT_EQ(code(perform("[]")), "machine_busy");
    EXPECT_EQ(code(call("cursor.position")), "");
    confirmations.answer(ConfirmationDecision::allowed(false));
    platform.settle();
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "");
    EXPECT_THAT(platform.posting.posted, SizeIs(2));
}

TEST_F(RouterConfirmationsTest, eachActionOfABatchIsAskedForItself)
{
    fakeProbe.hit = seen("AXButton", "Send");
    confirmations.onAsk = [&] {
        if (confirmations.questions.size() == 2)
            confirmations.decision = ConfirmationDecision::denied();
    };
    std::string const click = R"({"type":"click","x":1,"y":1})";
    EXPECT_EQ(code(perform("[" + click + "," + click + "," + click + "]")), "denied_by_user");
    EXPECT_THAT(confirmations.questions, SizeIs(2));
    EXPECT_THAT(platform.posting.posted, SizeIs(2));
    EXPECT_THAT(state.activity(), SizeIs(1)); // The grant; a failed batch leaves no entry.
}

TEST_F(RouterConfirmationsTest, aBatchKeepsThePolicyThatItBeganWith)
{
    fakeProbe.hit = seen("AXButton", "Send");
    confirmations.onAsk = [&] {
        ConfirmationPolicy lax = state.connection("c")->policy;
        lax.confirmDangerousActions = false;
        setPolicy(lax);
    };
    std::string const click = R"({"type":"click","x":1,"y":1})";
    EXPECT_EQ(code(perform("[" + click + "," + click + "]")), "");
    EXPECT_THAT(confirmations.questions, SizeIs(2));
    EXPECT_EQ(code(clickAt()), "");
    EXPECT_THAT(confirmations.questions, SizeIs(2)); // The next one has the new policy.
}

TEST_F(RouterConfirmationsTest, aHiddenApplicationThatComesToTheFrontBeforeTheQuestionIsNotNamed)
{
    run(platform.io, hiddenApps.add("org.secret"));
    // The checks of the chord look at the front twice; what follows them finds the hidden application.
    int const checks = platform.desktop.looks + 2;
    platform.desktop.onLook = [this, checks](int looks) {
        if (looks > checks)
            front("org.secret", "Secret", 200);
    };

    json::object const reply = press(R"(["cmd","s"])");

    EXPECT_EQ(code(reply), "hidden_app_active");
    EXPECT_EQ(writeJson(reply).find("ecret"), std::string::npos) << writeJson(reply);
    EXPECT_THAT(confirmations.questions, IsEmpty());
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterConfirmationsTest, aShortcutIsFoundByWhatTheLayoutGives)
{
    platform.layout.chords = [](KeyEvent event) -> std::vector<std::vector<std::string>> {
        constexpr int semicolon = 41;
        EXPECT_TRUE(event.flags.ctrl);
        if (event.keyCode == semicolon)
            return {{"cmd", "s"}};
        return {};
    };

    EXPECT_EQ(code(press(R"(["ctrl","semicolon"])")), "");

    EXPECT_THAT(asked(), ElementsAre(shortcut("cmd+s", "Form", "shortcut.save")));
}

} // namespace
} // namespace zelvo
