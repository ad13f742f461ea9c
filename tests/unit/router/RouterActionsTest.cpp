#include "base/LocalizedTexts.h"
#include "unit/router/RouterHarness.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RouterActionsTest : public RouterHarness {
protected:
    json::object perform(std::string const& actions)
    {
        return call("actions.perform", R"({"actions":)" + actions + "}");
    }
    static constexpr char const* click = R"({"type":"click","x":1,"y":2})";
    WindowEntry window(DesktopRect bounds, std::string owner, std::int32_t pid = 100, int layer = 0)
    {
        return {.id = 1, .ownerPid = pid, .layer = layer, .bounds = bounds, .owner = {{std::move(owner)}}};
    }
};

TEST_F(RouterActionsTest, clickIsPostedShownAndAnswered)
{
    EXPECT_EQ(perform("[" + std::string(click) + "]").at("result"), (json::object{{"ok", true}}));
    EXPECT_THAT(platform.posting.posted, SizeIs(2));
    EXPECT_THAT(cursor.shown, ElementsAre("approach 1,2", "clicked 1,2 x1"));
    EXPECT_THAT(recorder.told, ElementsAre("acted c Acme"));
    EXPECT_TRUE(state.isAgentWorking());
}

TEST_F(RouterActionsTest, everyKindShowsItselfAtTheCursor)
{
    std::optional<json::object> reply;
    start(
        frame("actions.perform", R"({"actions":[{"type":"move","x":1,"y":1},{"type":"mouse_down","x":2,"y":2},
        {"type":"mouse_up","x":3,"y":3},{"type":"drag","from":{"x":4,"y":4},"to":{"x":5,"y":5},"durationMs":0},
        {"type":"scroll","x":6,"y":6},{"type":"type","text":"né"},{"type":"key","keys":["cmd","a"]}]})"),
        reply);
    platform.time.advance(1s);

    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "");
    EXPECT_THAT(cursor.shown,
                ElementsAre("approach 1,1", "approach 2,2", "clicked 2,2 x1", "approach 3,3", "approach 4,4",
                            "dragged 4,4 5,5", "approach 6,6", "scrolled 6,6", "typed 2", "pressed a"));
}

TEST_F(RouterActionsTest, oneBadEntryAnywhereAndNothingRuns)
{
    for (char const* const bad :
         {"{}", "5", "null", "[]", R"({"type":"fly"})", R"({"type":"click","x":"1","y":2})",
          R"({"type":"key","keys":[]})", R"({"type":"type"})", R"({"type":"drag","from":{"x":1}})"}) {
        for (int position = 0; position < 3; ++position) {
            std::string list = "[";
            for (int i = 0; i < 3; ++i)
                list += (i ? "," : "") + std::string(i == position ? bad : click);
            EXPECT_EQ(code(perform(list + "]")), "invalid_request") << bad;
        }
    }
    EXPECT_THAT(platform.posting.posted, IsEmpty());
    EXPECT_THAT(recorder.told, IsEmpty());
}

TEST_F(RouterActionsTest, actionsMissingOrOfTheWrongTypeIsInvalid)
{
    EXPECT_EQ(code(call("actions.perform")), "invalid_request");
    EXPECT_EQ(code(call("actions.perform", R"({"actions":{}})")), "invalid_request");
    EXPECT_EQ(code(call("actions.perform", R"({"actions":"click"})")), "invalid_request");
}

TEST_F(RouterActionsTest, emptyBatchIsLegalAndLogged)
{
    EXPECT_EQ(perform("[]").at("result"), (json::object{{"ok", true}}));
    EXPECT_EQ(state.activity().front().note, localized("activity.actions", {std::int64_t{0}}));
    EXPECT_EQ(state.activity().front().kind, ActivityKind::actions);
}

TEST_F(RouterActionsTest, secondBatchIsBusyWhileOneRuns)
{
    std::optional<json::object> first;
    start(frame("actions.perform", R"({"actions":[{"type":"wait","ms":500}]})"), first);
    json::object const second = perform("[]");
    EXPECT_EQ(code(second), "machine_busy");
    EXPECT_EQ(second.at("error").at("message"), "Another control session is in progress");
    platform.time.advance(500ms);
    EXPECT_EQ(code(*first), "");
    EXPECT_EQ(code(perform("[]")), "");
}

TEST_F(RouterActionsTest, pauseStopsTheBatchAtTheNextAction)
{
    std::optional<json::object> reply;
    start(
        frame(
            "actions.perform",
            R"({"actions":[{"type":"move","x":1,"y":1},{"type":"wait","ms":500},{"type":"move","x":2,"y":2}]})"),
        reply);
    state.setPaused(true);
    platform.time.advance(500ms);
    EXPECT_EQ(code(*reply), "machine_paused");
    EXPECT_THAT(platform.posting.posted, SizeIs(1));
}

TEST_F(RouterActionsTest, lockStopsTheBatchAtTheNextAction)
{
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":[{"type":"wait","ms":500},{"type":"move","x":2,"y":2}]})"),
          reply);
    platform.sessionEvents.present = Availability::screenLocked;
    state.refreshAvailability();
    platform.time.advance(500ms);
    EXPECT_EQ(code(*reply), "machine_unavailable");
}

TEST_F(RouterActionsTest, aWaitThatAPauseEndsIsDone)
{
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":[{"type":"wait","ms":10000}]})"), reply);
    state.setPaused(true);
    platform.time.advance(100ms);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->at("result"), (json::object{{"ok", true}}));
    EXPECT_EQ(state.activity().front().kind, ActivityKind::actions);
}

TEST_F(RouterActionsTest, aWaitThatALockEndsIsDone)
{
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":[{"type":"wait","ms":10000}]})"), reply);
    platform.sessionEvents.present = Availability::screenLocked;
    state.refreshAvailability();
    platform.time.advance(100ms);
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "");
}

TEST_F(RouterActionsTest, theWaitAfterAPauseMeetsTheCheck)
{
    std::optional<json::object> reply;
    start(
        frame(
            "actions.perform",
            R"({"actions":[{"type":"wait","ms":10000},{"type":"wait","ms":200},{"type":"move","x":2,"y":2}]})"),
        reply);
    state.setPaused(true);
    platform.time.advance(100ms);
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "machine_paused");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterActionsTest, withdrawnPermissionStopsTheBatchAtTheNextAction)
{
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":[{"type":"wait","ms":500},{"type":"move","x":2,"y":2}]})"),
          reply);
    platform.systemAccess.granted.accessibility = false;
    platform.time.advance(500ms);
    EXPECT_EQ(code(*reply), "permission_missing");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterActionsTest, emptyExpectationCountsAsMissing)
{
    EXPECT_EQ(
        code(call("actions.perform", R"({"actions":[{"type":"move","x":1,"y":1}],"expectBundleId":""})")),
        "");
}

TEST_F(RouterActionsTest, expectationIgnoresCase)
{
    front("com.foo.App", "Foo");
    EXPECT_EQ(code(call("actions.perform",
                        R"({"actions":[{"type":"move","x":1,"y":1}],"expectBundleId":"COM.FOO.APP"})")),
              "");
}

TEST_F(RouterActionsTest, firstActionWaitsTwoSecondsForItsApplication)
{
    front("com.other", "Other");
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":[{"type":"move","x":1,"y":1}],"expectBundleId":"com.foo"})"),
          reply);
    platform.time.advance(1'900ms);
    EXPECT_FALSE(reply);
    front("com.foo", "Foo");
    platform.time.advance(50ms);
    ASSERT_TRUE(reply);
    EXPECT_EQ(code(*reply), "");
}

TEST_F(RouterActionsTest, wrongApplicationInFrontSaysWhichAndWhere)
{
    front("com.other", "Other");
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":[{"type":"move","x":1,"y":1}],"expectBundleId":"com.foo"})"),
          reply);
    platform.time.advance(2s);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->at("error"),
              (json::object{
                  {"code", "app_not_frontmost"},
                  {"message", "Other is in front, but com.foo was expected. The action was not performed."},
                  {"details",
                   {{"actual", "com.other"},
                    {"actualName", "Other"},
                    {"expected", "com.foo"},
                    {"failedIndex", "0"}}}}));
}

TEST_F(RouterActionsTest, anyNameOfTheApplicationInFrontWillDo)
{
    platform.desktop.front = RunningApplication{100, {{"thunar", "org.xfce.Thunar"}}, "Files"};
    for (char const* const expected : {"thunar", "Thunar", "ORG.XFCE.THUNAR"})
        EXPECT_EQ(code(call("actions.perform",
                            writeJson(json::object{
                                {"actions", json::array{json::object{{"type", "move"}, {"x", 1}, {"y", 1}}}},
                                {"expectBundleId", expected}}))),
                  "")
            << expected;
}

TEST_F(RouterActionsTest, aHiddenApplicationInFrontIsNotNamed)
{
    front("org.secret", "Secret");
    run(platform.io, hiddenApps.add("org.secret"));
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":[{"type":"move","x":1,"y":1}],"expectBundleId":"com.foo"})"),
          reply);
    platform.time.advance(2s);
    EXPECT_EQ(reply->at("error").at("message"),
              "another app is in front, but com.foo was expected. The action was not performed.");
    EXPECT_EQ(
        details(*reply),
        (json::object{{"actual", ""}, {"actualName", ""}, {"expected", "com.foo"}, {"failedIndex", "0"}}));
}

TEST_F(RouterActionsTest, expectingTheHiddenApplicationInFrontIsAnsweredLikeAnyWrongExpectation)
{
    platform.desktop.front = RunningApplication{100, {{"org.secret", "Secret"}}, "Secret"};
    run(platform.io, hiddenApps.add("org.secret"));
    for (char const* const action :
         {R"({"type":"move","x":1,"y":1})", R"({"type":"key","keys":["a"]})", R"({"type":"wait","ms":1})"}) {
        std::vector<std::string> answers;
        for (std::string const expected : {"org.secret", "SECRET", "com.foo"}) {
            std::optional<json::object> reply;
            start(frame("actions.perform", R"({"actions":[)" + std::string(action) +
                                               R"(],"expectBundleId":")" + expected + "\"}"),
                  reply);
            platform.time.advance(1'999ms);
            EXPECT_FALSE(reply) << expected << " is answered early";
            platform.time.advance(1ms);
            ASSERT_TRUE(reply) << expected;
            std::string answer = writeJson(reply->at("error"));
            for (std::size_t at = 0; (at = answer.find(expected)) != std::string::npos;)
                answer.replace(at, expected.size(), "?");
            answers.push_back(std::move(answer));
        }
        EXPECT_EQ(answers[0], answers[2]) << action;
        EXPECT_EQ(answers[1], answers[2]) << action;
    }
    EXPECT_TRUE(platform.posting.posted.empty());
}

TEST_F(RouterActionsTest, nothingInFrontIsAnotherApp)
{
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":[{"type":"move","x":1,"y":1}],"expectBundleId":"com.foo"})"),
          reply);
    platform.time.advance(2s);
    EXPECT_EQ(reply->at("error").at("message"),
              "another app is in front, but com.foo was expected. The action was not performed.");
    EXPECT_EQ(
        details(*reply),
        (json::object{{"actual", ""}, {"actualName", ""}, {"expected", "com.foo"}, {"failedIndex", "0"}}));
}

TEST_F(RouterActionsTest, laterActionsMustFindTheirApplicationAtOnce)
{
    front("com.foo", "Foo");
    std::optional<json::object> reply;
    start(
        frame(
            "actions.perform",
            R"({"actions":[{"type":"wait","ms":100},{"type":"move","x":1,"y":1}],"expectBundleId":"com.foo"})"),
        reply);
    front("com.other", "Other");
    platform.time.advance(100ms);
    ASSERT_TRUE(reply);
    EXPECT_EQ(details(*reply).at("failedIndex"), "1");
}

TEST_F(RouterActionsTest, openQuestionRefusesInputButNotAWait)
{
    std::optional<json::object> reply;
    start(
        frame(
            "actions.perform",
            R"({"actions":[{"type":"click","x":1,"y":1},{"type":"wait","ms":100},{"type":"click","x":1,"y":1}]})"),
        reply);
    question = true;
    platform.time.advance(100ms);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->at("error"),
              (json::object{{"code", "machine_busy"},
                            {"message",
                             "Waiting for the person to answer a confirmation. Try again after they decide."},
                            {"details", json::object()}}));
    EXPECT_THAT(platform.posting.posted, SizeIs(2));
}

TEST_F(RouterActionsTest, waitWhileAHiddenApplicationIsInFront)
{
    run(platform.io, hiddenApps.add("com.bank"));
    front("com.bank", "Bank");
    EXPECT_EQ(code(perform(R"([{"type":"wait"}])")), "hidden_app_active");
    EXPECT_EQ(code(perform(R"([{"type":"type","text":"x"}])")), "hidden_app_active");
    EXPECT_EQ(code(perform(R"([{"type":"key","keys":["a"]}])")), "hidden_app_active");
    EXPECT_EQ(code(perform(R"([{"type":"move","x":1,"y":1}])")), "");
}

TEST_F(RouterActionsTest, pointOnAHiddenWindowIsRefusedUnlessCovered)
{
    run(platform.io, hiddenApps.add("com.bank"));
    platform.windowList.list = {{window({0, 0, 50, 50}, "com.front"), window({0, 0, 100, 100}, "com.bank")}};
    EXPECT_EQ(code(perform(R"([{"type":"click","x":10,"y":10}])")), "");
    EXPECT_EQ(code(perform(R"([{"type":"click","x":60,"y":60}])")), "hidden_app_active");
    EXPECT_EQ(code(perform(R"([{"type":"click","x":160,"y":60}])")), "");
}

TEST_F(RouterActionsTest, ofADragOnlyTheStartIsLookedAt)
{
    run(platform.io, hiddenApps.add("com.bank"));
    platform.windowList.list = {{window({0, 0, 50, 50}, "com.bank")}};
    std::optional<json::object> reply;
    start(
        frame("actions.perform",
              R"({"actions":[{"type":"drag","from":{"x":80,"y":80},"to":{"x":10,"y":10},"durationMs":0}]})"),
        reply);
    platform.time.advance(1s);
    EXPECT_EQ(code(*reply), "");
    EXPECT_EQ(code(perform(R"([{"type":"drag","to":{"x":80,"y":80},"from":{"x":10,"y":10}}])")),
              "hidden_app_active");
}

TEST_F(RouterActionsTest, ownWindowsAreProtected)
{
    platform.windowList.list = {{window({0, 0, 50, 50}, "dev.zelvo.agent", 4711, 8)}};
    EXPECT_EQ(code(perform(R"([{"type":"click","x":10,"y":10}])")), "zelvo_ui_protected");
    EXPECT_EQ(code(perform(R"([{"type":"scroll","x":10,"y":10}])")), "zelvo_ui_protected");
    platform.windowList.list = {{window({0, 0, 50, 50}, "dev.zelvo.agent", 4711, 9)}};
    EXPECT_EQ(code(perform(R"([{"type":"click","x":10,"y":10}])")), "");
}

TEST_F(RouterActionsTest, typingIntoThisProgramIsRefused)
{
    front("dev.zelvo.agent", "Zelvo");
    EXPECT_EQ(code(perform(R"([{"type":"type","text":"x"}])")), "zelvo_ui_protected");
    EXPECT_EQ(code(perform(R"([{"type":"key","keys":["return"]}])")), "zelvo_ui_protected");
    EXPECT_THAT(platform.posting.posted, IsEmpty());
}

TEST_F(RouterActionsTest, unknownSnapshotHasExpired)
{
    EXPECT_EQ(code(perform(R"([{"type":"click_element","snapshotId":"s","elementId":"e0"}])")),
              "snapshot_expired");
    EXPECT_EQ(code(perform(R"([{"type":"set_value","snapshotId":"s","elementId":"e0","text":""}])")),
              "snapshot_expired");
}

TEST_F(RouterActionsTest, failureLeavesEarlierActionsDoneAndNoEntry)
{
    platform.windowList.list = {{window({0, 0, 50, 50}, "dev.zelvo.agent", 4711, 8)}};
    json::object const reply =
        perform(R"([{"type":"move","x":90,"y":1},{"type":"move","x":91,"y":1},{"type":"move","x":92,"y":1},
        {"type":"click","x":10,"y":10},{"type":"move","x":93,"y":1}])");
    EXPECT_EQ(code(reply), "zelvo_ui_protected");
    EXPECT_THAT(platform.posting.posted, SizeIs(3));
    EXPECT_THAT(state.activity(), SizeIs(1));
    EXPECT_EQ(code(perform("[]")), "");
}

TEST_F(RouterActionsTest, batchWithoutAConnectionInCloudModeLeavesNoEntry)
{
    makeRouter(AgentMode::cloud);
    EXPECT_EQ(call("actions.perform", R"({"actions":[]})", std::nullopt).at("result"),
              (json::object{{"ok", true}}));
    EXPECT_THAT(state.activity(), SizeIs(1));
    EXPECT_THAT(recorder.told, ElementsAre("acted - "));
}

TEST_F(RouterActionsTest, cloudModeStillChecksHiddenApplications)
{
    makeRouter(AgentMode::cloud);
    run(platform.io, hiddenApps.add("com.bank"));
    front("com.bank", "Bank");
    EXPECT_EQ(code(call("actions.perform", R"({"actions":[{"type":"wait"}]})", std::nullopt)),
              "hidden_app_active");
}

TEST_F(RouterActionsTest, entryNamesApplicationAndAgent)
{
    front("com.foo", "Foo");
    RpcFrame request = frame("actions.perform", R"({"actions":[{"type":"click","x":1,"y":1,"count":2}]})");
    request.agentName = "Robo";
    call(request);
    ActivityEntry const& entry = state.activity().front();
    EXPECT_NE(entry.summary.find("Foo"), std::string::npos);
    EXPECT_EQ(entry.note, localized("activity.actions", {1}));
    EXPECT_EQ(entry.detail, localized("activity.detail.clicks", {std::int64_t{2}}));
    EXPECT_EQ(entry.agentName, "Robo");
    EXPECT_EQ(entry.connectionId, "c");
}

TEST_F(RouterActionsTest, entryKeepsTheBeginningOfALongAgentsName)
{
    RpcFrame request = frame("actions.perform", R"({"actions":[]})");
    request.agentName = std::string(1'000'000, 'x');
    call(request);
    EXPECT_EQ(state.activity().front().agentName, std::string(200, 'x'));
}

TEST_F(RouterActionsTest, wheelValuesBeyondAllBoundsStaySane)
{
    EXPECT_EQ(code(perform(R"([{"type":"scroll","x":1,"y":1,"dx":1e300,"dy":-1e300}])")), "");
    ScrollEvent const expected{.dy = INT32_MIN, .dx = INT32_MAX};
    EXPECT_EQ(std::get<ScrollEvent>(platform.posting.posted.back()), expected);
}

TEST_F(RouterActionsTest, negativeAndHugeWaitsAreBounded)
{
    EXPECT_EQ(code(perform(R"([{"type":"wait","ms":-5}])")), "");
    std::optional<json::object> reply;
    start(frame("actions.perform", R"({"actions":[{"type":"wait","ms":9223372036854775807}]})"), reply);
    EXPECT_FALSE(reply);
    platform.time.jump(std::chrono::hours(24 * 30));
    platform.time.advance(100ms); // It looks up now and then.
    EXPECT_TRUE(reply);
}

} // namespace
} // namespace zelvo
