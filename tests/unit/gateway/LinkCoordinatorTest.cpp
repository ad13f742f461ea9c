#include "gateway/LinkCoordinator.h"

#include "base/LocalizedTexts.h"
#include "unit/state/StateFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zelvo {
namespace {

using testing::ElementsAre;

constexpr char const* answer =
    R"({"platform":{"name":"Acme","website":"https://acme.test","verifiedDomain":"acme.test",
    "isPersonal":true},"requestedScopes":["screen","input","shell"],"machineToken":"mt_1","machineId":"m_1"})";

class LinkCoordinatorTest : public StateFixture {
protected:
    int connects = 0;
    Keychain keychain{platform.secretStore};
    HeartbeatBuilder machine{{.information = platform.info,
                              .facts = platform.machineFacts,
                              .access = platform.systemAccess,
                              .screen = platform.screenSource,
                              .state = [this] { return state.currentState(); },
                              .recordingMode = [] { return std::string("off"); }}};
    LinkCoordinator links{{.main = platform.contexts.main,
                           .http = platform.loading,
                           .keychain = keychain,
                           .state = state,
                           .machine = machine,
                           .httpBase = "https://gateway.test",
                           .connectIfLinked = [this] { ++connects; }}};

    void offer(std::string body = answer, std::string token = "t1")
    {
        platform.loading.answer(200, std::move(body));
        links.begin(std::move(token));
        platform.settle();
    }
    void complete(std::vector<AgentScope> scopes)
    {
        spawn(platform.contexts.main, [this, scopes] { return links.complete(scopes); });
        platform.settle();
    }
    std::optional<std::string> storedToken()
    {
        return run(platform.io, keychain.get(Keychain::Item::machineToken));
    }
    json::object bodyOf(std::size_t request)
    {
        return parseJson(platform.loading.requests.at(request).body)->as_object();
    }
};

TEST_F(LinkCoordinatorTest, resolveSendsTokenAndVersions)
{
    platform.info.texts["CFBundleShortVersionString"] = "1.4";
    offer();

    HttpRequest const& request = platform.loading.requests.at(0);
    EXPECT_EQ(request.url, "https://gateway.test/machines/link/resolve");
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.timeout, 60s);
    EXPECT_THAT(request.headers,
                ElementsAre(std::pair<std::string, std::string>("Content-Type", "application/json")));
    EXPECT_EQ(bodyOf(0), (json::object{{"token", "t1"}, {"appVersion", "1.4"}, {"macosVersion", "12.0.0"}}));
}

TEST_F(LinkCoordinatorTest, resolveSendsAStoredMachineToken)
{
    run(platform.io, keychain.set("kept", Keychain::Item::machineToken));
    offer();
    EXPECT_EQ(bodyOf(0).at("machineToken"), "kept");
}

TEST_F(LinkCoordinatorTest, showsTheOffer)
{
    offer();

    ASSERT_TRUE(links.offer());
    EXPECT_EQ(*links.offer(),
              (LinkOffer{.token = "t1",
                         .platformName = "Acme",
                         .website = "https://acme.test",
                         .verifiedDomain = "acme.test",
                         .isPersonal = true,
                         .requestedScopes = {AgentScope::screen, AgentScope::input, AgentScope::shell},
                         .machineToken = "mt_1",
                         .machineId = "m_1"}));
    EXPECT_THAT(links.granted(), ElementsAre(AgentScope::screen, AgentScope::input));
    EXPECT_FALSE(links.isBusy());
    EXPECT_EQ(links.error(), std::nullopt);
    EXPECT_EQ(links.pendingToken(), "t1");
}

TEST_F(LinkCoordinatorTest, newMachineTokenIsKeptBeforeThePersonDecides)
{
    run(platform.io, keychain.set("old", Keychain::Item::machineToken));
    offer();
    EXPECT_EQ(storedToken(), "mt_1");
}

TEST_F(LinkCoordinatorTest, leftOutMachineTokenReusesTheStoredOne)
{
    run(platform.io, keychain.set("old", Keychain::Item::machineToken));
    offer(R"({"requestedScopes":["screen"]})");
    EXPECT_EQ(links.offer()->machineToken, "old");
    EXPECT_EQ(storedToken(), "old");
}

TEST_F(LinkCoordinatorTest, tokenThatWasDroppedDuringTheRequestIsNotReused)
{
    run(platform.io, keychain.set("old", Keychain::Item::machineToken));
    links.begin("t1");
    platform.settle();
    run(platform.io, keychain.remove(Keychain::Item::machineToken));
    platform.loading.answer(200, R"({"requestedScopes":["screen"]})");
    platform.settle();
    EXPECT_EQ(links.offer()->machineToken, "");
}

TEST_F(LinkCoordinatorTest, noMachineTokenAnywhereIsSentEmpty)
{
    offer(R"({"requestedScopes":["screen"]})");
    EXPECT_EQ(links.offer()->machineToken, "");
    platform.loading.answer(200, R"({"connectionId":"c"})");
    complete({AgentScope::screen});
    EXPECT_EQ(bodyOf(1).at("machineToken"), "");
}

TEST_F(LinkCoordinatorTest, unknownScopesAreLeftOut)
{
    offer(R"({"requestedScopes":["screen","fly",5,"files"]})");
    EXPECT_THAT(links.offer()->requestedScopes, ElementsAre(AgentScope::screen, AgentScope::files));
}

TEST_F(LinkCoordinatorTest, isPersonalAsANumberIsFalse)
{
    offer(R"({"platform":{"name":"A","isPersonal":1}})");
    EXPECT_FALSE(links.offer()->isPersonal);
}

TEST_F(LinkCoordinatorTest, missingPlatformHasTheCommonName)
{
    offer("{}");
    EXPECT_EQ(links.offer()->platformName, localized("common.platform"));
    EXPECT_EQ(links.offer()->website, std::nullopt);
    EXPECT_EQ(links.offer()->machineId, "");
}

TEST_F(LinkCoordinatorTest, secondResolveOfATokenLeavesTheTicks)
{
    offer();
    links.setGranted(AgentScope::shell, true);
    offer();
    EXPECT_TRUE(links.granted().contains(AgentScope::shell));
    offer(answer, "t2");
    EXPECT_FALSE(links.granted().contains(AgentScope::shell));
}

TEST_F(LinkCoordinatorTest, screenCannotBeTakenAway)
{
    offer();
    links.setGranted(AgentScope::screen, false);
    EXPECT_TRUE(links.granted().contains(AgentScope::screen));
    links.setGranted(AgentScope::input, false);
    EXPECT_FALSE(links.granted().contains(AgentScope::input));
}

TEST_F(LinkCoordinatorTest, scopeThatWasNotAskedForCannotBeTicked)
{
    offer(R"({"requestedScopes":["input"]})");
    links.setGranted(AgentScope::screen, true);
    links.setGranted(AgentScope::files, true);
    EXPECT_THAT(links.granted(), ElementsAre(AgentScope::input));
}

TEST_F(LinkCoordinatorTest, tickingWithoutAnOfferDoesNothing)
{
    links.setGranted(AgentScope::screen, true);
    EXPECT_TRUE(links.granted().empty());
}

TEST_F(LinkCoordinatorTest, completeGrantsAndConnects)
{
    offer();
    platform.loading.answer(200, R"({"connectionId":"con_1"})");
    complete({AgentScope::screen, AgentScope::shell});

    EXPECT_EQ(platform.loading.requests.at(1).url, "https://gateway.test/machines/link/complete");
    EXPECT_EQ(bodyOf(1), (json::object{{"token", "t1"},
                                       {"machineToken", "mt_1"},
                                       {"grantedScopes", json::array{"screen", "shell"}}}));
    auto const granted = state.connection("con_1");
    ASSERT_TRUE(granted);
    EXPECT_EQ(granted->platformName, "Acme");
    EXPECT_THAT(granted->scopes, ElementsAre(AgentScope::screen, AgentScope::shell));
    EXPECT_EQ(granted->policy, ConfirmationPolicy());
    EXPECT_EQ(granted->shareRecordings, std::nullopt);
    EXPECT_EQ(links.offer(), std::nullopt);
    EXPECT_TRUE(links.granted().empty());
    EXPECT_EQ(links.pendingToken(), std::nullopt);
    EXPECT_FALSE(links.isBusy());
    EXPECT_EQ(connects, 1);
}

TEST_F(LinkCoordinatorTest, completeWithoutAnOfferDoesNothing)
{
    complete({AgentScope::screen});
    EXPECT_TRUE(platform.loading.requests.empty());
}

TEST_F(LinkCoordinatorTest, gatewaysMessageIsShownVerbatimAndTheOfferStays)
{
    offer();
    platform.loading.answer(400, R"({"error":{"message":"Token <used> twice"}})");
    complete({AgentScope::screen});
    EXPECT_EQ(links.error(), "Token <used> twice");
    EXPECT_TRUE(links.offer());
    EXPECT_FALSE(links.isBusy());
    EXPECT_EQ(connects, 0);
}

TEST_F(LinkCoordinatorTest, htmlBodyOfAServerErrorShowsTheGenericText)
{
    platform.loading.answer(500, "<html>");
    links.begin("t");
    platform.settle();
    EXPECT_EQ(links.error(), localized("link.error.generic"));
    EXPECT_EQ(links.offer(), std::nullopt);
}

TEST_F(LinkCoordinatorTest, status200ThatIsNoObjectShowsTheGenericText)
{
    platform.loading.answer(200, "[]");
    links.begin("t");
    platform.settle();
    EXPECT_EQ(links.error(), localized("link.error.generic"));
}

TEST_F(LinkCoordinatorTest, status200ThatDoesNotParseNamesTheAddress)
{
    platform.loading.answer(200, "{");
    links.begin("t");
    platform.settle();
    ASSERT_TRUE(links.error());
    EXPECT_NE(links.error()->find("https://gateway.test/machines/link/resolve"), std::string::npos);
}

TEST_F(LinkCoordinatorTest, completeWithoutAConnectionIdIsAnError)
{
    offer();
    platform.loading.answer(200, R"({"connectionId":5})");
    complete({AgentScope::screen});
    EXPECT_EQ(links.error(), localized("link.error.generic"));
    EXPECT_TRUE(links.offer());
}

TEST_F(LinkCoordinatorTest, transportFailuresNameReasonAndAddress)
{
    using Network = NetworkFailure::Kind;
    std::vector<std::pair<Network, std::string>> const rows = {
        {Network::hostNotFound, localized("link.reason.noServer")},
        {Network::unreachable, localized("link.reason.noServer")},
        {Network::offline, localized("link.reason.offline")},
        {Network::lost, localized("link.reason.offline")},
        {Network::timedOut, localized("link.reason.timeout")},
        {Network::tls, localized("link.reason.tls")},
        {Network::other, "system's words"},
    };
    for (auto const& [kind, reason] : rows) {
        platform.loading.fail(kind, "system's words");
        links.begin("t");
        platform.settle();
        EXPECT_EQ(links.error(),
                  localized("link.error.transport", {reason, "https://gateway.test/machines/link/resolve"}));
        EXPECT_FALSE(links.isBusy());
    }
}

TEST_F(LinkCoordinatorTest, tokenThatCannotBeKeptStopsTheFlowBeforeTheOffer)
{
    platform.secretStore.refusesWith = -61;
    offer();
    EXPECT_EQ(links.offer(), std::nullopt);
    ASSERT_TRUE(links.error());
    EXPECT_NE(links.error()->find("https://gateway.test/machines/link/resolve"), std::string::npos);
    EXPECT_EQ(links.error()->find("mt_1"), std::string::npos); // No secret in the error text.
    EXPECT_FALSE(links.isBusy());
}

TEST_F(LinkCoordinatorTest, lateAnswerAfterCancelStillPresentsItsOffer)
{
    links.begin("t1");
    platform.settle();
    EXPECT_TRUE(links.isBusy());
    links.cancel();
    platform.loading.answer(200, answer);
    platform.settle();
    EXPECT_TRUE(links.offer());
}

TEST_F(LinkCoordinatorTest, cancelForgetsTheOffer)
{
    offer();
    links.cancel();
    EXPECT_EQ(links.offer(), std::nullopt);
    EXPECT_TRUE(links.granted().empty());
    EXPECT_EQ(links.pendingToken(), std::nullopt);
}

TEST_F(LinkCoordinatorTest, secondBeginStartsASecondResolve)
{
    links.begin("t1");
    links.begin("t2");
    platform.settle();
    EXPECT_EQ(platform.loading.requests.size(), 2u);
    EXPECT_EQ(links.pendingToken(), "t2");
}

TEST_F(LinkCoordinatorTest, newOfferClearsTheError)
{
    platform.loading.answer(500, "");
    links.begin("t1");
    platform.settle();
    EXPECT_TRUE(links.error());
    offer();
    EXPECT_EQ(links.error(), std::nullopt);
}

TEST_F(LinkCoordinatorTest, keychainNamesServiceAndAccount)
{
    offer();
    EXPECT_TRUE(platform.secretStore.items.contains({"dev.zelvo.agent", "machine_token"}));
}

} // namespace
} // namespace zelvo
