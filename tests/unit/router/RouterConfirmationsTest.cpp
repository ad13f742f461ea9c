#include "base/LocalizedTexts.h"
#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

#include <array>
#include <utility>

namespace zelvo {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RouterConfirmationsTest : public RouterHarness {
protected:
    static constexpr char const* save = R"({"actions":[{"type":"key","keys":["cmd","s"]}]})";

    void SetUp() override
    {
        RouterHarness::SetUp();
        front("org.form", "Form");
    }
    json::object perform(std::string const& actions)
    {
        return call("actions.perform", R"({"actions":)" + actions + "}");
    }
    json::object press(std::string const& keys) { return perform(R"([{"type":"key","keys":)" + keys + "}]"); }
    json::object clickAt() { return perform(R"([{"type":"click","x":10,"y":20}])"); }
    void setPolicy(ConfirmationPolicy policy)
    {
        GrantedConnection connection = *state.connection("c");
        connection.policy = policy;
        state.grant(std::move(connection));
    }
    /// Reads a tree of one element and gives a click on it.
    std::string elementClick(std::string role, std::string title, std::optional<std::string> identifier = {})
    {
        UiElementInfo info;
        info.id = "e0";
        info.role = std::move(role);
        info.title = std::move(title);
        info.identifier = std::move(identifier);
        info.frame = {100, 200, 30, 11};
        tree.elements = {info};
        tree.app = UiTreeSnapshot::App{"org.form", "Form"};
        call("ui.tree");
        return R"([{"type":"click_element","snapshotId":"snp_1","elementId":"e0"}])";
    }
    static ConfirmationSubject submit(std::string title)
    {
        return {ConfirmationSubject::SubmitButton{std::move(title)}};
    }
    static ConfirmationSubject dialogButton(std::string title, std::string app)
    {
        return {ConfirmationSubject::DialogButton{std::move(title), std::move(app)}};
    }
    static ConfirmationSubject shortcut(std::string keys, std::string app, std::string_view meaning)
    {
        return {ConfirmationSubject::KeyShortcut{std::move(keys), std::move(app), localized(meaning)}};
    }
    /// Commands that are no input, each of which the person is asked about with `askAboutEveryCommand`.
    static constexpr std::array<std::pair<char const*, char const*>, 3> askedCommands = {{
        {"shell.run", R"({"command":"ls"})"},
        {"urls.open", R"({"url":"mailto:a@b.example"})"},
        {"files.upload.begin", R"({"path":"/a","data":""})"},
    }};
    void askAboutEveryCommand()
    {
        ConfirmationPolicy policy;
        policy.confirmFileWrite = true;
        setPolicy(policy);
    }
    void expectThatEachWasAskedAboutAndNoneRan()
    {
        EXPECT_THAT(confirmations.questions, SizeIs(askedCommands.size()));
        EXPECT_THAT(shell.runs, IsEmpty());
        EXPECT_THAT(platform.desktop.openedUrls, IsEmpty());
        EXPECT_THAT(files.writes, IsEmpty());
    }
    void becomes(Availability availability)
    {
        platform.sessionEvents.present = availability;
        state.refreshAvailability();
    }
    std::vector<ConfirmationSubject> asked() const
    {
        std::vector<ConfirmationSubject> subjects;
        for (FakeConfirming::Question const& question : confirmations.questions)
            subjects.push_back(question.subject);
        return subjects;
    }
};

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

TEST_F(RouterConfirmationsTest, allIsLookedAtAgainAfterAYes)
{
    fakeProbe.hit = seen("AXButton", "Send");
    confirmations.onAsk = [&] { state.setPaused(true); };
    EXPECT_EQ(code(clickAt()), "machine_paused");
    state.setPaused(false);
    confirmations.onAsk = [&] { platform.windowList.list = {{ownWindow({0, 0, 50, 50})}}; };
    EXPECT_EQ(code(clickAt()), "zelvo_ui_protected");
    platform.windowList.list.reset();
    confirmations.onAsk = [&] { platform.systemAccess.granted.accessibility = false; };
    EXPECT_EQ(code(clickAt()), "permission_missing");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterConfirmationsTest, aButtonThatChangedAfterTheQuestionIsNotPressed)
{
    std::vector<std::optional<ProbedElement>> const others = {
        seen("AXButton", "Pay"), seen("AXButton", "Cancel"), seen("AXStaticText", "Send"), std::nullopt};
    for (auto const& other : others) {
        fakeProbe.hit = seen("AXButton", "Send");
        confirmations.onAsk = [&] { fakeProbe.hit = other; };
        json::object const reply = clickAt();
        EXPECT_EQ(code(reply), "snapshot_expired");
        EXPECT_EQ(reply.at("error").at("message").as_string(),
                  "What was asked about is no longer there. Look at the screen again.");
    }
    EXPECT_EQ(asked(), std::vector<ConfirmationSubject>(others.size(), submit("Send")));
    EXPECT_THAT(platform.posting.posted, IsEmpty());
    EXPECT_THAT(cursor.shown, IsEmpty());
}

TEST_F(RouterConfirmationsTest, anElementThatChangedAfterTheQuestionIsNotClicked)
{
    std::string const click = elementClick("AXButton", "Send", "main-button");
    ProbedElement send = seen("AXButton", "Send");
    send.identifier = "main-button";
    fakeProbe.hit = send;
    confirmations.onAsk = [&] { fakeProbe.hit->title = "Pay"; };

    EXPECT_EQ(code(perform(click)), "snapshot_expired");

    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterConfirmationsTest, aFocusedButtonThatChangedAfterTheQuestionIsNotPressedByReturn)
{
    fakeProbe.focused = seen("AXButton", "Send");
    confirmations.onAsk = [&] { fakeProbe.focused = seen("AXButton", "Pay"); };

    EXPECT_EQ(code(press(R"(["return"])")), "snapshot_expired");

    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterConfirmationsTest, anotherDialogThanThatOfTheQuestionGetsNoReturn)
{
    fakeProbe.dialog = seen("AXWindow", "Save the letter?");
    confirmations.onAsk = [&] { fakeProbe.dialog = seen("AXWindow", "Delete everything?"); };

    EXPECT_EQ(code(press(R"(["return"])")), "snapshot_expired");

    EXPECT_THAT(asked(), SizeIs(1));
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterConfirmationsTest, anAllowedKeyIsPressedOnlyWhereItWasAskedFor)
{
    confirmations.onAsk = [&] { front("org.mail", "Mail"); };
    std::optional<json::object> reply;
    start(frame("actions.perform", save), reply);
    platform.time.advance(1999ms);
    EXPECT_FALSE(reply);
    platform.time.advance(1ms);
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "app_not_frontmost");
    EXPECT_EQ(
        details(*reply),
        (json::object{
            {"actual", "org.mail"}, {"actualName", "Mail"}, {"expected", "org.form"}, {"failedIndex", "0"}}));
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterConfirmationsTest, anAllowedKeyWaitsUntilItsApplicationIsBackInFront)
{
    confirmations.onAsk = [&] { front("dev.zelvo.agent", "Zelvo"); };
    std::optional<json::object> reply;
    start(frame("actions.perform", save), reply);
    platform.time.advance(1s);
    EXPECT_FALSE(reply);
    EXPECT_THAT(platform.posting.posted, IsEmpty());
    front("org.form", "Form");
    platform.time.advance(50ms);
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "");
    EXPECT_THAT(platform.posting.posted, SizeIs(2));
}

TEST_F(RouterConfirmationsTest, aPauseDuringTheQuestionIsSeenBeforeTheApplicationInFront)
{
    confirmations.onAsk = [&] {
        front("org.mail", "Mail");
        state.setPaused(true);
    };
    EXPECT_EQ(code(press(R"(["cmd","s"])")), "machine_paused");
}

TEST_F(RouterConfirmationsTest, aKeyThatWasAllowedWithNothingInFrontReachesNoApplication)
{
    platform.desktop.front.reset();
    confirmations.onAsk = [&] { front("org.mail", "Mail"); };
    std::optional<json::object> reply;
    start(frame("actions.perform", save), reply);
    platform.time.advance(2s);
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "app_not_frontmost");
    EXPECT_EQ(reply->at("error").at("message"),
              "Mail is in front, but no app was expected. The action was not performed.");
    EXPECT_EQ(details(*reply),
              (json::object{
                  {"actual", "org.mail"}, {"actualName", "Mail"}, {"expected", ""}, {"failedIndex", "0"}}));
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterConfirmationsTest, anAllowedKeyDoesNotReachTheExpectedApplicationIfAnotherOneWasAskedAbout)
{
    int looks = 0;
    constexpr int looksOfTheFirstCheck = 2;
    fakeProbe.onFrontLook = [&] {
        if (++looks == looksOfTheFirstCheck + 1)
            front("org.mail", "Mail");
    };
    std::optional<json::object> reply;
    start(frame("actions.perform",
                R"({"actions":[{"type":"key","keys":["cmd","s"]}],"expectBundleId":"org.form"})"),
          reply);
    platform.time.advance(100ms);
    front("org.form", "Form");
    platform.time.advance(2s);
    EXPECT_THAT(asked(), ElementsAre(shortcut("cmd+s", "Mail", "shortcut.save")));
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "app_not_frontmost");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterConfirmationsTest, anAllowedElementWaitsUntilItsApplicationIsBackInFront)
{
    std::string const action = elementClick("AXButton", "Pay now");
    fakeProbe.hit = seen("AXButton", "Pay now");
    confirmations.onAsk = [&] { front("dev.zelvo.agent", "Zelvo"); };
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":)" + action + "}"), reply);
    EXPECT_FALSE(reply);
    front("org.form", "Form");
    platform.time.advance(50ms);
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

TEST_F(RouterConfirmationsTest, aConnectionThatIsRevokedWhileItsQuestionIsOpenActsNoMore)
{
    fakeProbe.hit = seen("AXButton", "Send");
    confirmations.onAsk = [&] { state.revoke("c"); };
    EXPECT_EQ(code(clickAt()), "scope_denied");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterConfirmationsTest, noCommandRunsAfterAPauseWhileItsQuestionWasOpen)
{
    askAboutEveryCommand();
    confirmations.onAsk = [&] { state.setPaused(true); };
    for (auto const& [method, params] : askedCommands) {
        EXPECT_EQ(code(call(method, params)), "machine_paused") << method;
        state.setPaused(false);
    }
    expectThatEachWasAskedAboutAndNoneRan();
}

TEST_F(RouterConfirmationsTest, noCommandRunsAfterALockWhileItsQuestionWasOpen)
{
    askAboutEveryCommand();
    confirmations.onAsk = [&] { becomes(Availability::screenLocked); };
    for (auto const& [method, params] : askedCommands) {
        EXPECT_EQ(code(call(method, params)), "machine_unavailable") << method;
        becomes(Availability::ready);
    }
    expectThatEachWasAskedAboutAndNoneRan();
}

TEST_F(RouterConfirmationsTest, noCommandRunsWithoutItsScopeAfterTheQuestion)
{
    askAboutEveryCommand();
    confirmations.onAsk = [&] { state.setScopes({AgentScope::screen}, "c"); };
    for (auto const& [method, params] : askedCommands) {
        EXPECT_EQ(code(call(method, params)), "scope_denied") << method;
        state.setScopes({allScopes.begin(), allScopes.end()}, "c");
    }
    expectThatEachWasAskedAboutAndNoneRan();
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
