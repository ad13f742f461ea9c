// What is looked at again after the person has said yes.
#include "unit/router/RouterConfirmationsFixture.h"

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

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

} // namespace
} // namespace zelvo
