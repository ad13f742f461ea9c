#include "app/AgentRuntime.h"

#include "base/LocalizedTexts.h"
#include "unit/app/RuntimeFixture.h"

#include <gmock/gmock.h>

namespace zelvo {
namespace {

using Kind = GatewayConnectionState::Kind;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class AgentRuntimeTest : public RuntimeFixture {
protected:
    void link(std::string token = "mt")
    {
        platform.secretStore.items[{"dev.zelvo.agent", "machine_token"}] = std::move(token);
    }
    Kind state() const { return parts.state.gateway().kind; }
    std::vector<std::string> const& sent() { return platform.opener.last().sent; }
};

TEST_F(AgentRuntimeTest, withoutATokenItIsNotLinkedAndNothingOpensASocket)
{
    start();
    EXPECT_EQ(state(), Kind::notLinked);
    platform.sessionEvents.tell(SessionEvent::didWake);
    platform.path.update(false);
    platform.path.update(true);
    parts.runtime.reconnectNow();
    platform.settle();
    EXPECT_THAT(platform.opener.opened, IsEmpty());
}

TEST_F(AgentRuntimeTest, withATokenItConnectsToTheConfiguredGateway)
{
    platform.info.texts["ZelvoGatewayURL"] = "ws://127.0.0.1:9";
    link();
    start();
    EXPECT_EQ(state(), Kind::connected);
    EXPECT_EQ(platform.opener.last().request.url, "ws://127.0.0.1:9/machines/connect");
    EXPECT_EQ(platform.path.host, "127.0.0.1");
}

TEST_F(AgentRuntimeTest, commandTravelsFromTheSocketToTheDesktopAndBack)
{
    platform.settings.contents["ZelvoMode"] = R"("cloud")";
    link();
    start();
    platform.opener.last().deliver(
        R"({"id":"1","method":"actions.perform","params":{"actions":[{"type":"move","x":3,"y":4}]}})");
    platform.settle();
    EXPECT_EQ(overlays.open, 1); // The cursor arrives first.
    EXPECT_THAT(platform.posting.posted, SizeIs(0));

    platform.time.advance(120ms);

    EXPECT_EQ(sent().back(), R"({"id":"1","result":{"ok":true}})");
    EXPECT_THAT(platform.posting.posted, SizeIs(1));
}

TEST_F(AgentRuntimeTest, heartbeatTellsModeAndHiddenApplications)
{
    platform.settings.contents["ZelvoMode"] = R"("cloud")";
    platform.settings.contents["dev.zelvo.hiddenApps"] = R"(["a"])";
    link();
    start();
    json::object const params = parseJson(sent().front())->as_object().at("params").as_object();
    EXPECT_EQ(params.at("mode"), "cloud");
    EXPECT_EQ(params.at("hiddenAppCount"), 1);
    EXPECT_EQ(params.at("recording"), "off");
    EXPECT_TRUE(params.at("display").is_object());
}

TEST_F(AgentRuntimeTest, networkLostAndBackReconnectsOnce)
{
    link();
    start();
    platform.path.update(true);
    platform.settle();
    EXPECT_THAT(platform.opener.opened, SizeIs(1)); // The first update finds the network up and does nothing.
    platform.path.update(false);
    platform.path.update(true);
    platform.path.update(true);
    platform.settle();
    EXPECT_THAT(platform.opener.opened, SizeIs(2));
}

TEST_F(AgentRuntimeTest, wakeReplacesAConnectedSocket)
{
    link();
    start();
    platform.sessionEvents.tell(SessionEvent::didWake);
    platform.settle();
    EXPECT_THAT(platform.opener.opened, SizeIs(2));
    platform.sessionEvents.tell(SessionEvent::screenUnlocked);
    platform.settle();
    EXPECT_THAT(platform.opener.opened, SizeIs(2));
}

TEST_F(AgentRuntimeTest, rejectedTokenIsTriedAgainOnlyByConnectIfLinked)
{
    link();
    start();
    platform.opener.last().status = 401;
    platform.opener.last().fail(NetworkFailure::Kind::other);
    platform.settle();
    EXPECT_EQ(state(), Kind::tokenRejected);
    platform.sessionEvents.tell(SessionEvent::didWake);
    platform.path.update(false);
    platform.path.update(true);
    platform.settle();
    EXPECT_THAT(platform.opener.opened, SizeIs(1));
    parts.runtime.connectIfLinked();
    platform.settle();
    EXPECT_THAT(platform.opener.opened, SizeIs(2));
}

TEST_F(AgentRuntimeTest, connectIfLinkedOnARunningClientTakesTheNewToken)
{
    link();
    start();
    link("new");
    parts.runtime.connectIfLinked();
    platform.settle();
    EXPECT_EQ(platform.opener.last().request.headers[0].second, "Bearer new");
    EXPECT_EQ(platform.opener.opened.front()->cancelCode, 1001);
}

TEST_F(AgentRuntimeTest, pauseAndResumeAreTold)
{
    link();
    start();
    parts.state.setPaused(true);
    platform.settle();
    EXPECT_EQ(sent().back(), R"({"event":"paused","data":{}})");
    EXPECT_EQ(platform.posting.releases, 1);
    parts.state.setPaused(false);
    platform.settle();
    EXPECT_EQ(sent().back(), R"({"event":"resumed","data":{}})");
    parts.state.setPaused(false);
    platform.settle();
    EXPECT_THAT(sent(), SizeIs(3));
}

TEST_F(AgentRuntimeTest, wishToStayAwakeTakesEffectAtTheNextPauseOrResume)
{
    start();
    parts.state.setKeepAwakeWhileWorking(true);
    platform.settle();
    EXPECT_EQ(platform.assertions.held, 0);
    parts.state.setPaused(true);
    EXPECT_EQ(platform.assertions.held, 0);
    parts.state.setPaused(false);
    EXPECT_EQ(platform.assertions.held, 1);
    EXPECT_EQ(platform.assertions.lastName, localized("power.agentWorking"));
    parts.state.setKeepAwakeWhileWorking(false);
    EXPECT_EQ(platform.assertions.held, 1);
    parts.state.setPaused(true);
    EXPECT_EQ(platform.assertions.held, 0);
}

TEST_F(AgentRuntimeTest, relinkDropsTokenConnectionsAndLink)
{
    platform.info.texts["ZelvoConsoleURL"] = "https://console.test";
    link();
    start();
    parts.state.grant({.id = "c", .platformName = "Acme", .scopes = {AgentScope::screen}});
    parts.runtime.relink();
    EXPECT_EQ(state(), Kind::notLinked); // At once.
    platform.settle();
    EXPECT_EQ(state(), Kind::notLinked);
    EXPECT_THAT(platform.secretStore.items, IsEmpty());
    EXPECT_THAT(parts.state.connections(), IsEmpty());
    EXPECT_EQ(platform.opener.last().cancelCode, 1001);
    EXPECT_THAT(platform.desktop.openedUrls, ElementsAre("https://console.test"));
}

TEST_F(AgentRuntimeTest, tokenThatWasReadBeforeRelinkConnectsNoMore)
{
    platform.secretStore.delay = [this] { return platform.time.sleep(1s); }; // A key ring that is slow.
    link();
    start();
    parts.runtime.relink();
    platform.settle();
    platform.time.advance(1s);
    EXPECT_THAT(platform.opener.opened, IsEmpty());
    EXPECT_EQ(state(), Kind::notLinked);
}

TEST_F(AgentRuntimeTest, newLinkAfterRelinkRevivesTheClient)
{
    link();
    start();
    parts.runtime.relink();
    platform.settle();
    link("again");
    parts.runtime.connectIfLinked();
    platform.settle();
    EXPECT_EQ(state(), Kind::connected);
}

TEST_F(AgentRuntimeTest, consoleAddressNeedsAScheme)
{
    EXPECT_EQ(parts.runtime.consoleUrl(), "https://console.zelvo.invalid");
    for (char const* const unusable : {"console.test", "", "http://["}) {
        platform.info.texts["ZelvoConsoleURL"] = unusable;
        EXPECT_EQ(parts.runtime.consoleUrl(), "https://console.zelvo.invalid") << unusable;
    }
    platform.info.texts["ZelvoConsoleURL"] = "https://x";
    EXPECT_EQ(parts.runtime.consoleUrl(), "https://x");
}

TEST_F(AgentRuntimeTest, liveAgentsAreLeftToTheGateway)
{
    parts.runtime.setAgentPaused("r1", true); // No client yet: nothing happens.
    link();
    start();
    parts.runtime.setAgentPaused("r1", true);
    platform.settle();
    EXPECT_EQ(sent().back(), R"({"event":"agent_pause","data":{"ref":"r1"}})");
    parts.runtime.setAgentPaused("r1", false);
    platform.settle();
    EXPECT_EQ(sent().back(), R"({"event":"agent_resume","data":{"ref":"r1"}})");
}

TEST_F(AgentRuntimeTest, queueDecisionBelongsToItsConnection)
{
    link();
    start();
    parts.runtime.sendQueueDecision("c", {.accepted = {"a"}, .declined = {"b", "d"}});
    platform.settle();
    EXPECT_EQ(
        sent().back(),
        R"({"event":"queued_commands_ack","data":{"accepted":["a"],"declined":["b","d"]},"connectionId":"c"})");
}

TEST_F(AgentRuntimeTest, keyRingThatAppearsLaterIsTriedWhileNotLinked)
{
    start();
    link();
    platform.secretStore.becameAvailable();
    platform.settle();
    EXPECT_EQ(state(), Kind::connected);
    platform.secretStore.becameAvailable();
    platform.settle();
    EXPECT_THAT(platform.opener.opened, SizeIs(1));
}

TEST_F(AgentRuntimeTest, keyRingThatAppearsWhileAnOfferIsOpenWaitsForThePerson)
{
    start();
    platform.loading.answer(200, R"({"requestedScopes":["screen"],"machineToken":"offered"})");
    parts.links.begin("t");
    platform.settle();
    platform.secretStore.becameAvailable();
    platform.settle();
    EXPECT_THAT(platform.opener.opened, IsEmpty());
}

TEST_F(AgentRuntimeTest, keyRingBroughtUpByTheFirstReadDoesNotConnectTwice)
{
    link();
    platform.secretStore.delay = [this]() -> Task<> {
        platform.secretStore.becameAvailable();
        co_return;
    };
    start();
    EXPECT_EQ(state(), Kind::connected);
    EXPECT_THAT(platform.opener.opened, SizeIs(1));
}

TEST_F(AgentRuntimeTest, keyRingThatAppearsInTheVeryTurnOfTheStartDoesNotConnectTwice)
{
    link();
    parts.state.startObserving();
    parts.runtime.start();
    platform.secretStore.becameAvailable();
    platform.settle();
    EXPECT_EQ(state(), Kind::connected);
    EXPECT_THAT(platform.opener.opened, SizeIs(1));
}

TEST_F(AgentRuntimeTest, keyRingThatAppearsDuringAVainReadIsReadAgain)
{
    platform.secretStore.delay = [this]() -> Task<> {
        if (platform.secretStore.items.empty()) {
            link();
            platform.secretStore.becameAvailable();
        }
        co_return;
    };
    start();
    EXPECT_EQ(state(), Kind::connected);
    EXPECT_THAT(platform.opener.opened, SizeIs(1));
}

TEST_F(AgentRuntimeTest, finishedLinkOnAConnectedClientPassesThroughConnecting)
{
    link();
    start();
    std::vector<Kind> seen;
    boost::signals2::scoped_connection const watching = parts.state.changed.connect([&] {
        if (seen.empty() || seen.back() != state())
            seen.push_back(state());
    });
    platform.loading.answer(200, R"({"requestedScopes":["screen"]})");
    parts.links.begin("t");
    platform.settle();
    platform.loading.answer(200, R"({"connectionId":"con"})");
    spawn(platform.contexts.main, [&] { return parts.links.complete({AgentScope::screen}); });
    platform.settle();
    EXPECT_THAT(seen, ElementsAre(Kind::connected, Kind::connecting, Kind::connected));
}

TEST_F(AgentRuntimeTest, shutDownTellsTheGateway)
{
    link();
    start();
    run(platform.io, parts.runtime.shutDown());
    EXPECT_EQ(platform.opener.last().cancelCode, 1001);
}

TEST_F(AgentRuntimeTest, shutDownAsksRunningCommandsToEnd)
{
    start();
    EXPECT_FALSE(platform.processes.areTerminated);
    run(platform.io, parts.runtime.shutDown());
    EXPECT_TRUE(platform.processes.areTerminated);
}

TEST_F(AgentRuntimeTest, tellsThePersonOfAnApplicationThatMustBeStartedAnew)
{
    start();
    platform.desktop.running[300] = {.pid = 300, .names = {{"org.old"}}, .localizedName = "Old"};
    platform.elements.unreadable(300);
    platform.elements.unreadable(301); // Gone meanwhile.
    platform.settle();
    ASSERT_FALSE(parts.state.activity().empty());
    EXPECT_EQ(parts.state.activity().front().summary, localized("activity.unreadable", {"Old"}));
}

TEST_F(AgentRuntimeTest, readsTheElementsOfTheApplicationInFront)
{
    platform.settings.contents["ZelvoMode"] = R"("cloud")";
    platform.desktop.front =
        RunningApplication{.pid = 100, .names = {{"org.editor"}}, .localizedName = "Editor"};
    platform.elements.applications[100].focusedWindow =
        FakeElement{.role = "AXWindow", .children = {{FakeElement{.role = "AXButton", .title = "Send"}}}};
    link();
    start();
    platform.opener.last().deliver(R"({"id":"9","method":"ui.tree","params":{}})");
    platform.settle();
    EXPECT_THAT(sent().back(), testing::HasSubstr(R"([e0] button \"Send\" (10,20 100x50))"));
}

TEST(AgentParts, letAgentsReachTheFoldersThatAreStored)
{
    FakePlatform platform;
    FakePanels panels{platform.windowFocus};
    platform.fileSystem.addFile("/granted/x", "content");
    platform.fileSystem.addFile("/other/x", "content");
    platform.settings.contents["dev.zelvo.fileRoots"] = R"(["/gone","/granted"])";
    FakeOverlays overlays;
    AgentParts parts(platform.contexts, platform, panels.maker(), overlays.cursorMaker());

    EXPECT_EQ(run(platform.io, parts.files.read("/granted/x")), "content");
    EXPECT_THROW(run(platform.io, parts.files.read("/other/x")), AgentError);

    run(platform.io, parts.folders.remove("/granted"));
    EXPECT_THROW(run(platform.io, parts.files.read("/granted/x")), AgentError);
}

} // namespace
} // namespace zelvo
