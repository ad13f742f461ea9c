#include "base/LocalizedTexts.h"
#include "unit/router/RouterHarness.h"
#include "wire/ScopePolicy.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using testing::ElementsAre;

class RpcRouterTest : public RouterHarness {};

TEST_F(RpcRouterTest, resultCarriesTheFramesId)
{
    EXPECT_EQ(call("permissions.get"),
              (json::object{{"id", "7"}, {"result", {{"screenRecording", true}, {"accessibility", true}}}}));
}

TEST_F(RpcRouterTest, displayInfoTellsTheGeometry)
{
    EXPECT_EQ(
        call("display.info").at("result"),
        (json::object{{"widthPoints", 1512}, {"heightPoints", 982}, {"scaleFactor", 1}, {"displayId", 7u}}));
}

TEST_F(RpcRouterTest, displayInfoWithoutAScreenIsUnavailableWithTheReason)
{
    platform.screenSource.attached.clear();
    json::object const reply = call("display.info");
    EXPECT_EQ(code(reply), "machine_unavailable");
    EXPECT_EQ(details(reply), (json::object{{"reason", "ready"}}));
}

TEST_F(RpcRouterTest, reasonIsWhatTheSessionShowsAtThatMoment)
{
    platform.screenSource.attached.clear();
    platform.sessionEvents.present = Availability::noGUISession;
    EXPECT_EQ(details(call("display.info")), (json::object{{"reason", "no_gui_session"}}));
}

TEST_F(RpcRouterTest, reasonIsNotTheAvailabilityThatRefused)
{
    state.startObserving();
    platform.sessionEvents.tell(SessionEvent::willSleep);
    platform.sessionEvents.present = Availability::screenLocked;
    json::object const reply = call("display.info");
    EXPECT_EQ(code(reply), "machine_unavailable");
    EXPECT_EQ(details(reply), (json::object{{"reason", "screen_locked"}}));
}

TEST_F(RpcRouterTest, reasonIsReadyWhenTheMachineHasBecomeSo)
{
    platform.sessionEvents.present = Availability::screenLocked;
    state.refreshAvailability();
    platform.sessionEvents.present = Availability::ready;
    EXPECT_EQ(details(call("display.info")), (json::object{{"reason", "ready"}}));
}

TEST_F(RpcRouterTest, cursorPositionInPoints)
{
    platform.posting.pointer = {12.5, -3};
    EXPECT_EQ(call("cursor.position").at("result"), (json::object{{"x", 12.5}, {"y", -3}}));
}

TEST_F(RpcRouterTest, everyScopedMethodIsDeniedWithoutItsScope)
{
    for (char const* const method :
         {"screenshot", "screen.settle", "ui.tree", "ui.wait", "windows.list", "apps.list", "cursor.position",
          "actions.perform", "apps.open", "apps.activate", "urls.open", "shell.run", "files.upload.begin",
          "files.upload.chunk", "files.upload.end", "files.download", "clipboard.get", "clipboard.set"}) {
        std::vector<AgentScope> others;
        for (AgentScope const scope : allScopes)
            if (scope != ScopePolicy::required(method))
                others.push_back(scope);
        state.setScopes(others, "c");
        EXPECT_EQ(code(call(method)), "scope_denied") << method;
        EXPECT_EQ(code(call(method, "{}", "unknown")), "scope_denied") << method;
        EXPECT_EQ(code(call(method, "{}", std::nullopt)), "scope_denied") << method;
    }
}

TEST_F(RpcRouterTest, scopeFailureGoesBeforeAPause)
{
    state.setPaused(true);
    EXPECT_EQ(code(call("screenshot", "{}", "unknown")), "scope_denied");
    EXPECT_EQ(code(call("screenshot")), "machine_paused");
}

TEST_F(RpcRouterTest, pauseGoesBeforeAvailabilityAndBothBeforePermissions)
{
    platform.systemAccess.granted = {};
    state.setPaused(true);
    platform.sessionEvents.present = Availability::noGUISession;
    state.startObserving();
    EXPECT_EQ(code(call("permissions.get")), "machine_paused");
    state.setPaused(false);
    EXPECT_EQ(code(call("permissions.get")), "machine_unavailable");
}

TEST_F(RpcRouterTest, unknownMethodOnAPausedAgentIsPaused)
{
    state.setPaused(true);
    EXPECT_EQ(code(call("no.such.method")), "machine_paused");
    EXPECT_EQ(code(call("display.info")), "machine_paused");
    EXPECT_EQ(code(call("system.reboot")), "machine_paused");
}

TEST_F(RpcRouterTest, displayInfoWhileTheScreenIsLocked)
{
    platform.sessionEvents.present = Availability::screenLocked;
    state.refreshAvailability();
    json::object const reply = call("display.info");
    EXPECT_EQ(code(reply), "machine_unavailable");
    EXPECT_EQ(details(reply), (json::object{{"reason", "screen_locked"}}));
}

TEST_F(RpcRouterTest, permissionsGetNeedsNoConnection)
{
    EXPECT_TRUE(call("permissions.get", "{}", std::nullopt).contains("result"));
}

TEST_F(RpcRouterTest, screenshotWithoutScreenRecording)
{
    platform.systemAccess.granted = {.accessibility = true, .screenRecording = false};
    json::object const reply = call("screenshot");
    EXPECT_EQ(code(reply), "permission_missing");
    EXPECT_EQ(details(reply), (json::object{{"permission", "screenRecording"}}));
}

TEST_F(RpcRouterTest, screenshotThatTheSystemRefusesNamesScreenRecording)
{
    platform.screenSource.capturable.emplace();
    for (bool const accessibility : {true, false}) {
        platform.systemAccess.granted.accessibility = accessibility;
        json::object const reply = call("screenshot");
        EXPECT_EQ(code(reply), "permission_missing");
        EXPECT_EQ(reply.at("error").at("message"), "A macOS permission is missing");
        EXPECT_EQ(details(reply), (json::object{{"permission", "screenRecording"}}));
    }
}

TEST_F(RpcRouterTest, treeThatTheSystemRefusesNamesAccessibility)
{
    tree.failsWith = AgentError::permissionMissing;
    json::object const reply = call("ui.tree");
    EXPECT_EQ(code(reply), "permission_missing");
    EXPECT_EQ(details(reply), (json::object{{"permission", "accessibility"}}));
}

TEST_F(RpcRouterTest, actionsWithoutAccessibility)
{
    platform.systemAccess.granted = {.accessibility = false, .screenRecording = true};
    json::object const reply = call("actions.perform", R"({"actions":[]})");
    EXPECT_EQ(code(reply), "permission_missing");
    EXPECT_EQ(details(reply), (json::object{{"permission", "accessibility"}}));
}

TEST_F(RpcRouterTest, withBothMissingScreenRecordingIsReportedFirst)
{
    platform.systemAccess.granted = {};
    EXPECT_EQ(details(call("actions.perform", R"({"actions":[]})")),
              (json::object{{"permission", "screenRecording"}}));
}

TEST_F(RpcRouterTest, methodsWithoutAHandlerAreInvalid)
{
    for (char const* const method : {"Screenshot", "", "hello", "heartbeat", "system.reboot", "vnc.open",
                                     "vnc.close", "files.upload.chunk", "files.upload.end"})
        EXPECT_EQ(call(method),
                  (json::object{{"id", "7"},
                                {"error", {{"code", "invalid_request"}, {"message", "Invalid request"}}}}))
            << method;
}

TEST_F(RpcRouterTest, connectionGrantIsAlwaysDenied)
{
    EXPECT_EQ(code(call("connection.grant", R"({"connectionId":"x","platformName":"P","scopes":["shell"]})")),
              "scope_denied");
    EXPECT_FALSE(state.connection("x"));
}

TEST_F(RpcRouterTest, revokeWorksWhilePausedAndTheConnectionIsGone)
{
    state.setPaused(true);
    EXPECT_EQ(call("connection.revoke", R"({"connectionId":"c"})"),
              (json::object{{"id", "7"}, {"result", {{"ok", true}}}}));
    EXPECT_FALSE(state.connection("c"));
}

TEST_F(RpcRouterTest, revokeIsAnsweredOnlyWhenItIsOnDisk)
{
    int const before = platform.settings.writtenCalls;
    call("connection.revoke", R"({"connectionId":"c"})");
    EXPECT_EQ(platform.settings.writtenCalls, before + 1);
    EXPECT_EQ(platform.settings.contents["zelvo.connections"], "[]");
}

TEST_F(RpcRouterTest, revokeReadsTheParamsAndNotTheFrame)
{
    EXPECT_EQ(call("connection.revoke").at("result"), (json::object{{"ok", true}}));
    EXPECT_EQ(call("connection.revoke", R"({"connectionId":5})").at("result"), (json::object{{"ok", true}}));
    EXPECT_TRUE(state.connection("c"));
}

TEST_F(RpcRouterTest, serviceMethodsPassAsleepWithoutPermissionsAndUnconnected)
{
    platform.systemAccess.granted = {};
    platform.sessionEvents.present = Availability::noGUISession;
    state.refreshAvailability();
    EXPECT_EQ(call("connections.names", R"({"connections":[]})", std::nullopt).at("result"),
              (json::object{{"ok", true}}));
    EXPECT_EQ(call("agents.update", "{}", "unknown").at("result"), (json::object{{"ok", true}}));
}

TEST_F(RpcRouterTest, agentsUpdateIsStored)
{
    state.setGatewayState(GatewayConnectionState::of(GatewayConnectionState::Kind::connected));
    call("agents.update",
         R"({"holder":{"ref":"r","name":"N","since":"2026-11-21T00:00:00.000Z"},"waiting":[],"paused":[]})");
    ASSERT_TRUE(state.liveAgents().holder);
    EXPECT_EQ(state.liveAgents().holder->ref, "r");
    call("agents.update", R"({"waiting":[{"name":"no ref"}],"paused":[]})");
    EXPECT_TRUE(state.liveAgents().isEmpty());
}

TEST_F(RpcRouterTest, namesRenameAndTheLaterOfTwoWins)
{
    EXPECT_EQ(call("connections.names", R"({"connections":[{"connectionId":"c","platformName":"One"},5,
        {"connectionId":"c","platformName":"Two"},{"connectionId":"c"}]})")
                  .at("result"),
              (json::object{{"ok", true}}));
    EXPECT_EQ(state.connection("c")->platformName, "Two");
}

TEST_F(RpcRouterTest, namesWithoutAnArrayIsInvalid)
{
    EXPECT_EQ(code(call("connections.names")), "invalid_request");
    EXPECT_EQ(code(call("connections.names", R"({"connections":{}})")), "invalid_request");
}

TEST_F(RpcRouterTest, cloudModeChecksNoScopeButPermissions)
{
    makeRouter(AgentMode::cloud);
    EXPECT_TRUE(call("screenshot", "{}", std::nullopt).contains("result"));
    platform.systemAccess.granted = {};
    EXPECT_EQ(code(call("screenshot", "{}", std::nullopt)), "permission_missing");
    state.setPaused(true);
    EXPECT_EQ(code(call("screenshot", "{}", std::nullopt)), "machine_paused");
}

TEST_F(RpcRouterTest, vmModeIsLikeCloud)
{
    makeRouter(AgentMode::vm);
    EXPECT_TRUE(call("screenshot", "{}", std::nullopt).contains("result"));
}

TEST_F(RpcRouterTest, failureOfTheSystemIsAnInternalErrorAndNothingOfItIsSent)
{
    platform.screenSource.failsWith = ScreenFailure{"secret words of the system"};
    EXPECT_EQ(
        call("screenshot"),
        (json::object{{"id", "7"}, {"error", {{"code", "internal_error"}, {"message", "Internal error"}}}}));
    EXPECT_TRUE(state.activity().size() == 1u); // Only the grant: a refused frame leaves no trace.
}

TEST_F(RpcRouterTest, screenshotTellsTheRecorderFirstAndIsLogged)
{
    RpcFrame request = frame("screenshot");
    request.agentName = "Robo";
    call(request);
    EXPECT_THAT(recorder.told, ElementsAre("looked"));
    ActivityEntry const& entry = state.activity().front();
    EXPECT_EQ(entry.summary, localized("activity.looked"));
    EXPECT_EQ(entry.platformName, "Acme");
    EXPECT_EQ(entry.connectionId, "c");
    EXPECT_EQ(entry.agentName, "Robo");
    call(request);
    EXPECT_EQ(state.activity().front().count, 2);
}

TEST_F(RpcRouterTest, logKeepsTheBeginningOfALongAgentsName)
{
    RpcFrame request = frame("screenshot");
    request.agentName = std::string(1'000'000, 'x');
    call(request);
    call(request);
    EXPECT_EQ(state.activity().front().agentName, std::string(200, 'x'));
    EXPECT_EQ(state.activity().front().count, 2);
}

TEST_F(RpcRouterTest, lookOfAnUnknownConnectionIsNotLogged)
{
    makeRouter(AgentMode::cloud);
    call("screenshot", "{}", "unknown");
    EXPECT_EQ(state.activity().size(), 1u);
}

TEST_F(RpcRouterTest, commandsInterleaveWhereTheyWait)
{
    std::optional<json::object> batch;
    start(frame("actions.perform", R"({"actions":[{"type":"wait","ms":1000}]})"), batch);
    EXPECT_FALSE(batch);
    EXPECT_TRUE(call("screenshot").contains("result"));
    platform.time.advance(1s);
    EXPECT_TRUE(batch && batch->contains("result"));
}

TEST_F(RpcRouterTest, anOfferIsAnsweredBeforeItIsDecided)
{
    std::vector<QueuedCommandsOffer> taken;
    offers.handler.set([&](QueuedCommandsOffer offer) { taken.push_back(std::move(offer)); });
    std::string const params = R"({"connectionId":"c","commands":[{"commandId":"1","type":"screenshot"}]})";

    EXPECT_EQ(call("queue.offer", params).at("result"), (json::object{{"ok", true}}));

    ASSERT_EQ(taken.size(), 1u);
    EXPECT_EQ(taken[0].ids(), std::vector<std::string>{"1"});
}

TEST_F(RpcRouterTest, anOfferThatCannotBeReadIsAnInternalError)
{
    EXPECT_EQ(code(call("queue.offer")), "internal_error");
    EXPECT_EQ(code(call("queue.offer", R"({"connectionId":"c","commands":[{"type":"screenshot"}]})")),
              "internal_error");
}

TEST_F(RpcRouterTest, anOfferBeforeSomebodyTakesItIsLost)
{
    EXPECT_EQ(call("queue.offer", R"({"connectionId":"c","commands":[]})").at("result"),
              (json::object{{"ok", true}}));
}

} // namespace
} // namespace zelvo
