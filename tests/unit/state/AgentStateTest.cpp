#include "state/AgentState.h"

#include "base/DateText.h"
#include "base/LocalizedTexts.h"
#include "fakes/ErrorOf.h"
#include "state/ActivityWording.h"
#include "state/StoredList.h"
#include "unit/state/StateFixture.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

using Kind = GatewayConnectionState::Kind;

class AgentStateTest : public StateFixture {
protected:
    ActivityEntry newest() const { return state.activity().front(); }
    std::string& content(char const* key) { return platform.settings.contents[key]; }
    std::vector<ActivityEntry> storedActivity()
    {
        return stored::decodeList<ActivityEntry>(content("zelvo.activity")).value();
    }
    ConnectionMap storedConnections() { return decodeConnections(content("zelvo.connections")).value(); }

    /// Clears the store, so that a test can check whether something is stored again.
    void clearStored() { platform.settings.contents.clear(); }
    bool isStored(std::string const& key) const { return platform.settings.contents.contains(key); }

    void look(std::optional<std::string> connectionId, std::optional<std::string> agentName)
    {
        state.logLooked("Acme", std::move(connectionId), std::move(agentName), platform.time.date());
    }
    void enter(Kind kind) { state.setGatewayState(GatewayConnectionState::of(kind)); }
    void retry(std::string reason, Duration in = 1s)
    {
        state.setGatewayState(GatewayConnectionState::retrying(
            std::move(reason),
            platform.time.date() + std::chrono::duration_cast<std::chrono::microseconds>(in)));
    }
};

GrantedConnection acme(std::string id = "con_1", std::string name = "Acme")
{
    return {std::move(id), std::move(name), {AgentScope::input, AgentScope::screen}, {}, {}};
}

ComputerAgents someAgents()
{
    ComputerAgents agents;
    agents.holder = ComputerAgent{"r", "Bot", {}, {}, {}};
    return agents;
}

std::vector<std::string> summaries(AgentState const& state)
{
    std::vector<std::string> texts;
    for (ActivityEntry const& entry : state.activity())
        texts.push_back(entry.summary);
    return texts;
}

/// An entry without its id and time.
ActivityEntry withoutStamp(ActivityEntry entry)
{
    entry.id.clear();
    entry.at = {};
    return entry;
}

ActivityEntry said(std::string platform, std::string summary, ActivityKind kind)
{
    ActivityEntry entry;
    entry.platformName = std::move(platform);
    entry.summary = std::move(summary);
    entry.kind = kind;
    return entry;
}

std::string storedEntries(std::size_t count)
{
    std::vector<ActivityEntry> entries;
    for (std::size_t i = 0; i < count; ++i) {
        entries.push_back(said("Acme", std::to_string(i), ActivityKind::actions));
        entries.back().id = "8C5F0000-0000-4000-8000-000000000000";
    }
    return stored::encodeList(entries);
}

// Initial values.

TEST_F(AgentStateTest, beginsUnpausedReadyAndEmpty)
{
    EXPECT_TRUE(state.connections().empty());
    EXPECT_TRUE(state.activity().empty());
    EXPECT_FALSE(state.isPaused());
    EXPECT_EQ(state.availability(), Availability::ready);
    EXPECT_TRUE(state.availabilityHistory().empty());
    EXPECT_FALSE(state.keepAwakeWhileWorking);
    EXPECT_TRUE(state.showAgentCursor());
    EXPECT_FALSE(state.isAgentWorking());
    EXPECT_EQ(state.liveAgents(), ComputerAgents::none());
    EXPECT_EQ(state.gateway(), GatewayConnectionState::of(Kind::notLinked));
    EXPECT_EQ(state.currentState(), (StateMirror{false, Availability::ready, {}}));
}

TEST_F(AgentStateTest, showsTheAgentCursorUnlessTheStoredValueSaysNo)
{
    for (std::string const other : {"true", "1", R"("false")", "null", "", "{"}) {
        content("zelvo.showAgentCursor") = other;
        EXPECT_TRUE(AgentState(services()).showAgentCursor()) << other;
    }

    content("zelvo.showAgentCursor") = "false";
    EXPECT_FALSE(AgentState(services()).showAgentCursor());
}

TEST_F(AgentStateTest, storesWhetherTheCursorIsShown)
{
    state.setShowAgentCursor(false);
    EXPECT_EQ(content("zelvo.showAgentCursor"), "false");
    EXPECT_FALSE(state.showAgentCursor());

    state.setShowAgentCursor(true);
    EXPECT_EQ(content("zelvo.showAgentCursor"), "true");
}

// Adding entries.

TEST_F(AgentStateTest, logsAnEntryWithEverythingThatWasSaid)
{
    platform.time.advance(5s);
    state.log({.platform = "Acme",
               .summary = "did it",
               .kind = ActivityKind::terminal,
               .connectionId = "con_1",
               .note = "note",
               .detail = "detail",
               .agentName = "Bot"});

    ActivityEntry expected = said("Acme", "did it", ActivityKind::terminal);
    expected.connectionId = "con_1";
    expected.note = "note";
    expected.detail = "detail";
    expected.agentName = "Bot";
    EXPECT_EQ(withoutStamp(newest()), expected);
    EXPECT_EQ(newest().at, platform.time.date());
    EXPECT_EQ(newest().id.size(), 36u);
}

TEST_F(AgentStateTest, leavesOutWhatWasNotSaid)
{
    state.log({.platform = "Acme", .summary = "did it"});

    ActivityEntry expected = said("Acme", "did it", {});
    expected.kind.reset();
    EXPECT_EQ(withoutStamp(newest()), expected);
}

TEST_F(AgentStateTest, putsTheNewestEntryFirstAndStoresTheWholeList)
{
    state.log({.platform = "Acme", .summary = "one"});
    state.log({.platform = "Acme", .summary = "two"});

    EXPECT_EQ(summaries(state), (std::vector<std::string>{"two", "one"}));
    EXPECT_NE(state.activity()[0].id, state.activity()[1].id);
    EXPECT_EQ(storedActivity(), state.activity());
}

TEST_F(AgentStateTest, pushesTheOldestOutWithEntryFiveHundredAndOne)
{
    for (int i = 1; i <= 501; ++i)
        state.log({.platform = "Acme", .summary = std::to_string(i)});

    EXPECT_EQ(state.activity().size(), 500u);
    EXPECT_EQ(state.activity().front().summary, "501");
    EXPECT_EQ(state.activity().back().summary, "2");
    EXPECT_EQ(storedActivity(), state.activity());
}

TEST_F(AgentStateTest, keepsALongerStoredListUntilTheNextEntryTrimsIt)
{
    content("zelvo.activity") = storedEntries(600);
    state.startObserving();
    EXPECT_EQ(state.activity().size(), 600u);

    state.log({.platform = "Acme", .summary = "new"});

    EXPECT_EQ(state.activity().size(), 500u);
    EXPECT_EQ(state.activity().back().summary, "498");
    EXPECT_EQ(storedActivity().size(), 500u);
}

// Screenshots.

TEST_F(AgentStateTest, logsALookAtItsOwnTime)
{
    Date const at = platform.time.date() - 30s;
    state.logLooked("Acme", "con_1", "Bot", at);

    ActivityEntry expected = said("Acme", localized("activity.looked"), ActivityKind::screen);
    expected.connectionId = "con_1";
    expected.agentName = "Bot";
    EXPECT_EQ(withoutStamp(newest()), expected);
    EXPECT_EQ(newest().at, at);
    EXPECT_EQ(storedActivity(), state.activity());
}

TEST_F(AgentStateTest, mergesThreeLooksWithinTheWindow)
{
    look("con_1", "Bot");
    std::string const id = newest().id;
    platform.time.advance(60s);
    look("con_1", "Bot");
    platform.time.advance(119s);
    look("con_1", "Bot");

    ASSERT_EQ(state.activity().size(), 1u);
    EXPECT_EQ(newest().count, 3);
    EXPECT_EQ(newest().at, platform.time.date());
    EXPECT_EQ(newest().id, id);
    EXPECT_EQ(storedActivity(), state.activity());
}

TEST_F(AgentStateTest, slidesTheWindowAlongHoweverOldTheFirstLookIs)
{
    for (int i = 0; i < 10; ++i) {
        look("con_1", {});
        platform.time.advance(119s);
    }

    ASSERT_EQ(state.activity().size(), 1u);
    EXPECT_EQ(newest().count, 10);
}

TEST_F(AgentStateTest, startsANewLineAfterExactlyTwoMinutes)
{
    look("con_1", {});
    platform.time.advance(119'999'999us);
    look("con_1", {});
    EXPECT_EQ(state.activity().size(), 1u);

    platform.time.advance(120s);
    look("con_1", {});

    ASSERT_EQ(state.activity().size(), 2u);
    EXPECT_FALSE(newest().count);
}

TEST_F(AgentStateTest, mergesALookThatComesLateByTheClock)
{
    look("con_1", {});
    Date const earlier = platform.time.date() - 1h;
    state.logLooked("Acme", "con_1", {}, earlier);

    ASSERT_EQ(state.activity().size(), 1u);
    EXPECT_EQ(newest().at, earlier);
}

TEST_F(AgentStateTest, mergesLooksWithoutConnectionAndAgent)
{
    look({}, {});
    look({}, {});

    EXPECT_EQ(newest().count, 2);
}

TEST_F(AgentStateTest, doesNotMergeLooksOfDifferentAgentsOrConnections)
{
    look("con_1", "Bot");
    look("con_1", "Other");
    look("con_1", {});
    look("con_2", {});
    look({}, {});
    look("con_1", "Bot");

    EXPECT_EQ(state.activity().size(), 6u);
    for (ActivityEntry const& entry : state.activity())
        EXPECT_FALSE(entry.count);
}

TEST_F(AgentStateTest, stopsMergingAtAnyOtherEntry)
{
    look("con_1", "Bot");
    state.log({.platform = "Acme",
               .summary = "clicked",
               .kind = ActivityKind::actions,
               .connectionId = "con_1",
               .agentName = "Bot"});
    look("con_1", "Bot");

    EXPECT_EQ(state.activity().size(), 3u);
}

TEST_F(AgentStateTest, doesNotMergeWithAnEntryWithoutAKind)
{
    state.log({.platform = "Acme", .summary = "old", .connectionId = "con_1"});
    look("con_1", {});

    EXPECT_EQ(state.activity().size(), 2u);
}

TEST_F(AgentStateTest, goesOnCountingAStoredLook)
{
    look("con_1", {});
    look("con_1", {});
    AgentState next(services());
    next.startObserving();

    next.logLooked("Acme", "con_1", {}, platform.time.date());

    EXPECT_EQ(next.activity().size(), 1u);
    EXPECT_EQ(next.activity().front().count, 3);
}

TEST_F(AgentStateTest, takesStoredLooksFarFromAnyDateAndCount)
{
    for (std::string const at : {"1e300", "-1e300", "3e11"}) {
        content("zelvo.activity") = R"([{"id":"8C5F0000-0000-4000-8000-000000000000","at":)" + at +
                                    R"(,"platformName":"Acme","summary":"s","kind":"screen",)"
                                    R"("count":9223372036854775807}])";
        AgentState next(services());
        next.startObserving();

        next.logLooked("Acme", {}, {}, platform.time.date());

        EXPECT_GE(next.activity().front().count.value_or(1), 1) << at;
    }
}

// Connections.

TEST_F(AgentStateTest, grantsAConnectionStoresAndLogsIt)
{
    state.grant(acme());

    EXPECT_EQ(state.connection("con_1"), acme());
    EXPECT_EQ(storedConnections(), state.connections());
    ActivityEntry expected = said("Acme", localized("activity.connectionGranted"), ActivityKind::connection);
    expected.connectionId = "con_1";
    expected.note = shortList({AgentScope::screen, AgentScope::input});
    EXPECT_EQ(withoutStamp(newest()), expected);
}

TEST_F(AgentStateTest, replacesAConnectionThatIsGrantedAgain)
{
    state.grant(acme("con_1", "Old"));
    state.setShareRecordings(true, "con_1");

    state.grant(acme("con_1", "New"));

    EXPECT_EQ(state.connections().size(), 1u);
    EXPECT_EQ(state.connection("con_1"), acme("con_1", "New"));
    EXPECT_EQ(state.activity().size(), 2u);
}

TEST_F(AgentStateTest, revokesAConnectionStoresAndLogsIt)
{
    state.grant(acme());
    state.grant(acme("con_2", "Other"));

    state.revoke("con_1");

    EXPECT_FALSE(state.connection("con_1"));
    EXPECT_EQ(storedConnections(), (ConnectionMap{{"con_2", acme("con_2", "Other")}}));
    ActivityEntry expected = said("Acme", localized("activity.connectionRevoked"), ActivityKind::connection);
    expected.connectionId = "con_1";
    EXPECT_EQ(withoutStamp(newest()), expected);
}

TEST_F(AgentStateTest, neitherLogsNorStoresTheRevocationOfAnUnknownConnection)
{
    state.revoke("con_1");

    EXPECT_TRUE(state.activity().empty());
    EXPECT_TRUE(platform.settings.contents.empty());
}

TEST_F(AgentStateTest, forgetsAllConnectionsAndLogsItOnce)
{
    state.grant(acme());
    state.grant(acme("con_2"));
    std::size_t const before = state.activity().size();

    state.forgetConnections();

    EXPECT_TRUE(state.connections().empty());
    EXPECT_TRUE(storedConnections().empty());
    EXPECT_EQ(state.activity().size(), before + 1);
    EXPECT_EQ(withoutStamp(newest()), said(localized("activity.thisMac"),
                                           localized("activity.connectionsReset"), ActivityKind::connection));
}

TEST_F(AgentStateTest, logsNothingWhenThereAreNoConnectionsToForget)
{
    state.forgetConnections();

    EXPECT_TRUE(state.activity().empty());
    EXPECT_TRUE(platform.settings.contents.empty());
}

TEST_F(AgentStateTest, findsNoConnectionWithoutAnId)
{
    state.grant(acme());

    EXPECT_FALSE(state.connection(std::nullopt));
    EXPECT_FALSE(state.connection("con_2"));
    EXPECT_FALSE(state.connection(""));
}

TEST_F(AgentStateTest, replacesTheScopesOfAConnectionWithoutLogging)
{
    state.grant(acme());
    std::size_t const before = state.activity().size();

    state.setScopes({AgentScope::files}, "con_1");

    EXPECT_EQ(state.connection("con_1")->scopes, std::vector{AgentScope::files});
    EXPECT_EQ(storedConnections(), state.connections());
    EXPECT_EQ(state.activity().size(), before);
}

TEST_F(AgentStateTest, setsWhetherRecordingsAreSharedWithoutLogging)
{
    state.grant(acme());
    std::size_t const before = state.activity().size();
    for (std::optional<bool> const answer :
         {std::optional(true), std::optional(false), std::optional<bool>()}) {
        state.setShareRecordings(answer, "con_1");
        EXPECT_EQ(state.connection("con_1")->shareRecordings, answer);
        EXPECT_EQ(storedConnections(), state.connections());
    }
    EXPECT_EQ(state.activity().size(), before);
}

TEST_F(AgentStateTest, storesTheConnectionsAlsoWhenTheChangedOneIsUnknown)
{
    state.setScopes({AgentScope::files}, "con_9");
    EXPECT_EQ(content("zelvo.connections"), "[]");

    clearStored();
    state.setShareRecordings(true, "con_9");
    EXPECT_EQ(content("zelvo.connections"), "[]");
    EXPECT_TRUE(state.connections().empty());
}

TEST_F(AgentStateTest, writtenResumesWhenItsChangesAreOnDisk)
{
    run(platform.io, state.written());

    EXPECT_EQ(platform.settings.writtenCalls, 1);
}

// Renaming.

TEST_F(AgentStateTest, renamesAConnectionAndItsLines)
{
    state.grant(acme());

    state.renameConnections({{"con_1", "Bolt"}});

    EXPECT_EQ(state.connection("con_1")->platformName, "Bolt");
    EXPECT_EQ(newest().platformName, "Bolt");
    EXPECT_EQ(storedConnections(), state.connections());
    EXPECT_EQ(storedActivity(), state.activity());
}

TEST_F(AgentStateTest, renamesLinesByConnectionAndElseByTheOldName)
{
    state.log({.platform = "Acme", .summary = "without a connection"});
    state.log({.platform = "Older", .summary = "of the connection", .connectionId = "con_1"});
    state.log({.platform = "Acme", .summary = "of an unknown connection", .connectionId = "con_9"});
    state.log({.platform = "Somebody", .summary = "of nobody"});
    state.grant(acme());

    state.renameConnections({{"con_1", "Bolt"}});

    std::vector<std::string> names;
    for (ActivityEntry const& entry : state.activity())
        names.push_back(entry.platformName);
    EXPECT_EQ(names, (std::vector<std::string>{"Bolt", "Somebody", "Bolt", "Bolt", "Bolt"}));
}

TEST_F(AgentStateTest, correctsTheLinesOfAConnectionThatHasItsNameAlready)
{
    state.log({.platform = "Older", .summary = "s", .connectionId = "con_1"});
    state.grant(acme());
    clearStored();

    state.renameConnections({{"con_1", "Acme"}});

    EXPECT_EQ(state.activity().back().platformName, "Acme");
    EXPECT_TRUE(isStored("zelvo.activity"));
    EXPECT_FALSE(isStored("zelvo.connections")); // No connection was renamed.
}

TEST_F(AgentStateTest, storesNothingWhenNoNameChanges)
{
    state.grant(acme());
    clearStored();

    state.renameConnections({{"con_1", " Acme\n"}});
    state.renameConnections({});

    EXPECT_TRUE(platform.settings.contents.empty());
}

TEST_F(AgentStateTest, doesNotStoreTheLogWhenNoLineChanges)
{
    content("zelvo.connections") = encodeConnections({{"con_1", acme()}});
    state.startObserving();
    clearStored();

    state.renameConnections({{"con_1", "Bolt"}});

    EXPECT_TRUE(isStored("zelvo.connections"));
    EXPECT_FALSE(isStored("zelvo.activity"));
}

TEST_F(AgentStateTest, trimsANewName)
{
    state.grant(acme());

    state.renameConnections({{"con_1", " \t\r\n\u00A0Bolt and nut \n"}});

    EXPECT_EQ(state.connection("con_1")->platformName, "Bolt and nut");
}

TEST_F(AgentStateTest, ignoresBadPairsOneByOne)
{
    state.grant(acme("con_1", "One"));
    state.grant(acme("con_2", "Two"));
    state.grant(acme("con_3", "Three"));

    state.renameConnections(
        {{"con_1", std::string(201, 'x')}, {"con_2", " \n\t"}, {"con_3", "Drei"}, {"con_9", "Nine"}});

    EXPECT_EQ(state.connection("con_1")->platformName, "One");
    EXPECT_EQ(state.connection("con_2")->platformName, "Two");
    EXPECT_EQ(state.connection("con_3")->platformName, "Drei");
    EXPECT_FALSE(state.connection("con_9"));
}

TEST_F(AgentStateTest, countsTheLengthOfANameInCharactersAfterTrimming)
{
    state.grant(acme());
    std::string longest;
    for (int i = 0; i < 200; ++i)
        longest += "é";

    state.renameConnections({{"con_1", "  " + longest + "  "}});
    EXPECT_EQ(state.connection("con_1")->platformName, longest);

    state.renameConnections({{"con_1", longest + "é"}});
    EXPECT_EQ(state.connection("con_1")->platformName, longest);
}

// Assertions.

TEST_F(AgentStateTest, assertsThatAConnectionHoldsAScope)
{
    state.grant(acme());

    EXPECT_FALSE(errorOf([&] { state.assertScope(AgentScope::screen, "con_1"); }));
    EXPECT_EQ(errorOf([&] { state.assertScope(AgentScope::shell, "con_1"); }), AgentError::scopeDenied);
    EXPECT_EQ(errorOf([&] { state.assertScope(AgentScope::screen, "con_2"); }), AgentError::scopeDenied);
    EXPECT_EQ(errorOf([&] { state.assertScope(AgentScope::screen, std::nullopt); }), AgentError::scopeDenied);
}

TEST_F(AgentStateTest, isReadyUnlessPausedOrUnavailable)
{
    state.startObserving();
    EXPECT_FALSE(errorOf([&] { state.assertReady(); }));

    for (Availability const other :
         {Availability::asleep, Availability::noGUISession, Availability::screenLocked}) {
        platform.sessionEvents.present = other;
        state.refreshAvailability();
        EXPECT_EQ(errorOf([&] { state.assertReady(); }), AgentError::machineUnavailable);
    }
}

TEST_F(AgentStateTest, reportsThePauseBeforeTheAvailability)
{
    platform.sessionEvents.present = Availability::screenLocked;
    state.refreshAvailability();
    state.setPaused(true);

    EXPECT_EQ(errorOf([&] { state.assertReady(); }), AgentError::machinePaused);
}

// Pause and mirror.

TEST_F(AgentStateTest, reportsEachChangeOfThePauseOnce)
{
    std::vector<bool> told;
    state.onPauseChanged = [&](bool paused) {
        EXPECT_EQ(state.currentState().paused, paused); // The mirror is updated first.
        told.push_back(paused);
    };

    state.setPaused(false);
    state.setPaused(true);
    state.setPaused(true);
    state.setPaused(false);

    EXPECT_EQ(told, (std::vector{true, false}));
}

TEST_F(AgentStateTest, mirrorsPauseAvailabilityAndSortedIds)
{
    state.startObserving();
    state.grant(acme("con_b"));
    state.grant(acme("con_a"));
    state.setPaused(true);
    platform.sessionEvents.tell(SessionEvent::screenLocked);

    EXPECT_EQ(state.currentState(), (StateMirror{true, Availability::screenLocked, {"con_a", "con_b"}}));

    state.revoke("con_b");
    EXPECT_EQ(state.currentState().grantedConnectionIds, std::vector<std::string>{"con_a"});

    state.forgetConnections();
    EXPECT_TRUE(state.currentState().grantedConnectionIds.empty());
}

// Working.

TEST_F(AgentStateTest, worksUntilThreeSecondsAfterTheLastAction)
{
    state.markWorking();
    EXPECT_TRUE(state.isAgentWorking());
    platform.time.advance(2s);
    state.markWorking();

    platform.time.advance(2999ms);
    EXPECT_TRUE(state.isAgentWorking());
    platform.time.advance(1ms);
    EXPECT_FALSE(state.isAgentWorking());
}

TEST_F(AgentStateTest, keepsWorkingWhenAnActionArrivesAtTheReset)
{
    // Wakes just before the reset, like an action that arrives at the same time.
    spawn(platform.contexts.main, [this]() -> Task<> {
        co_await platform.time.sleep(3s);
        state.markWorking();
    });
    platform.settle();
    state.markWorking();

    platform.time.advance(3s);
    EXPECT_TRUE(state.isAgentWorking());

    platform.time.advance(3s);
    EXPECT_FALSE(state.isAgentWorking());
}

TEST_F(AgentStateTest, mayEndWhileAnAgentWorks)
{
    {
        AgentState brief(services());
        brief.startObserving();
        brief.markWorking();
        platform.settle();
    }

    platform.time.advance(5s);
    platform.sessionEvents.tell(SessionEvent::screenLocked);

    EXPECT_EQ(platform.time.sleeperCount(), 0u);
}

// Live agents and the link.

TEST_F(AgentStateTest, assignsLiveAgentsOnlyWhenTheyDiffer)
{
    int changes = 0;
    boost::signals2::scoped_connection const watching = state.changed.connect([&] { ++changes; });

    state.setLiveAgents(someAgents());
    EXPECT_EQ(state.liveAgents(), someAgents());
    EXPECT_EQ(changes, 1);

    state.setLiveAgents(someAgents());
    EXPECT_EQ(changes, 1);
}

TEST_F(AgentStateTest, keepsNoLiveAgentsWithoutALink)
{
    for (Kind const kind : {Kind::notLinked, Kind::connecting, Kind::tokenRejected, Kind::updateRequired}) {
        enter(Kind::connected);
        state.setLiveAgents(someAgents());
        enter(kind);
        EXPECT_TRUE(state.liveAgents().isEmpty());
    }
    enter(Kind::connected);
    state.setLiveAgents(someAgents());
    retry("lost");
    EXPECT_TRUE(state.liveAgents().isEmpty());
}

TEST_F(AgentStateTest, keepsLiveAgentsWhenTheLinkComesUp)
{
    state.setLiveAgents(someAgents());

    enter(Kind::connected);

    EXPECT_EQ(state.liveAgents(), someAgents());
}

TEST_F(AgentStateTest, logsARejectedTokenAndARequiredUpdateFromEveryOtherState)
{
    for (auto const& [kind, key] : {std::pair(Kind::tokenRejected, "activity.tokenRejected"),
                                    std::pair(Kind::updateRequired, "activity.updateRequired")})
        for (Kind const from : {Kind::notLinked, Kind::connecting, Kind::connected, Kind::retrying}) {
            enter(from);
            std::size_t const before = state.activity().size();
            enter(kind);
            ASSERT_EQ(state.activity().size(), before + 1);
            EXPECT_EQ(withoutStamp(newest()),
                      said(localized("activity.server"), localized(key), ActivityKind::server));
        }

    enter(Kind::tokenRejected);
    EXPECT_EQ(newest().summary, localized("activity.tokenRejected"));
    enter(Kind::updateRequired);
    EXPECT_EQ(newest().summary, localized("activity.updateRequired"));
}

TEST_F(AgentStateTest, logsALossOfTheLinkWithItsReason)
{
    enter(Kind::connected);

    retry("the network is gone");

    ActivityEntry expected =
        said(localized("activity.server"), localized("activity.connectionLost"), ActivityKind::server);
    expected.note = "the network is gone";
    EXPECT_EQ(withoutStamp(newest()), expected);
}

TEST_F(AgentStateTest, logsTheLinkFromConnectingAndRetrying)
{
    enter(Kind::connecting);
    enter(Kind::connected);
    EXPECT_EQ(withoutStamp(newest()),
              said(localized("activity.server"), localized("activity.connected"), ActivityKind::server));
    EXPECT_EQ(state.activity().size(), 1u);

    enter(Kind::notLinked);
    retry("r");
    enter(Kind::connected);
    EXPECT_EQ(summaries(state), (std::vector<std::string>(2, localized("activity.connected"))));
}

TEST_F(AgentStateTest, logsNoFailedAttempt)
{
    enter(Kind::connecting);
    retry("one");
    enter(Kind::connecting);
    retry("two");

    EXPECT_TRUE(state.activity().empty());
}

TEST_F(AgentStateTest, logsNoLinkFromStatesThatItCannotComeFrom)
{
    enter(Kind::connected); // From notLinked.
    EXPECT_TRUE(state.activity().empty());

    for (Kind const from : {Kind::tokenRejected, Kind::updateRequired}) {
        enter(from);
        std::size_t const before = state.activity().size();
        enter(Kind::connected);
        EXPECT_EQ(state.activity().size(), before);
    }
}

TEST_F(AgentStateTest, logsNothingWhenTheLinkIsGivenUpOrBegun)
{
    enter(Kind::connecting);
    enter(Kind::notLinked);
    EXPECT_TRUE(state.activity().empty());

    enter(Kind::connected);
    enter(Kind::connecting);
    enter(Kind::notLinked);
    EXPECT_TRUE(state.activity().empty());
}

TEST_F(AgentStateTest, doesNothingForTheSameLinkState)
{
    retry("r");
    int changes = 0;
    boost::signals2::scoped_connection const watching = state.changed.connect([&] { ++changes; });

    retry("r");

    EXPECT_EQ(changes, 0);
}

TEST_F(AgentStateTest, assignsALaterAttemptAndLogsNothing)
{
    enter(Kind::connected);
    retry("r", 1s);
    std::size_t const before = state.activity().size();

    retry("r", 2s);

    EXPECT_EQ(state.gateway().nextAttempt, platform.time.date() + 2s);
    EXPECT_EQ(state.activity().size(), before);
}

// Availability.

TEST_F(AgentStateTest, recordsAndLogsAChangeOfAvailability)
{
    state.startObserving();
    platform.time.advance(7s);

    platform.sessionEvents.tell(SessionEvent::screenLocked);

    ASSERT_EQ(state.availabilityHistory().size(), 1u);
    AvailabilityChange const& change = state.availabilityHistory().front();
    EXPECT_EQ(change.id.size(), 36u);
    EXPECT_EQ(change.at, platform.time.date());
    EXPECT_EQ(change.from, Availability::ready);
    EXPECT_EQ(change.to, Availability::screenLocked);
    EXPECT_EQ(content("zelvo.availabilityHistory"), stored::encodeList(state.availabilityHistory()));
    EXPECT_EQ(withoutStamp(newest()),
              said(localized("activity.thisMac"),
                   ActivityWording::availability(Availability::ready, Availability::screenLocked),
                   ActivityKind::mac));
}

TEST_F(AgentStateTest, recordsNothingWhenTheAvailabilityStaysAsItIs)
{
    state.startObserving();

    state.refreshAvailability();
    platform.sessionEvents.tell(SessionEvent::didWake);

    EXPECT_TRUE(state.availabilityHistory().empty());
    EXPECT_TRUE(state.activity().empty());
}

TEST_F(AgentStateTest, takesSleepAndLockFromTheirEvents)
{
    state.startObserving();
    ASSERT_EQ(platform.sessionEvents.present, Availability::ready);

    platform.sessionEvents.tell(SessionEvent::willSleep);
    EXPECT_EQ(state.availability(), Availability::asleep);

    platform.sessionEvents.tell(SessionEvent::screenLocked);
    EXPECT_EQ(state.availability(), Availability::screenLocked);
}

TEST_F(AgentStateTest, readsTheSessionAtEveryOtherEvent)
{
    state.startObserving();
    for (SessionEvent const event : {SessionEvent::didWake, SessionEvent::sessionResignedActive,
                                     SessionEvent::sessionBecameActive, SessionEvent::screenUnlocked})
        for (Availability const present :
             {Availability::screenLocked, Availability::noGUISession, Availability::ready}) {
            platform.sessionEvents.present = present;
            platform.sessionEvents.tell(event);
            EXPECT_EQ(state.availability(), present);
        }
}

TEST_F(AgentStateTest, wakesOntoALockedScreenAndIsUnlockedLater)
{
    state.startObserving();
    platform.sessionEvents.tell(SessionEvent::willSleep);
    platform.sessionEvents.present = Availability::screenLocked;
    platform.sessionEvents.tell(SessionEvent::didWake);
    EXPECT_EQ(state.availability(), Availability::screenLocked);

    platform.sessionEvents.present = Availability::ready;
    platform.sessionEvents.tell(SessionEvent::screenUnlocked);

    EXPECT_EQ(state.availability(), Availability::ready);
    EXPECT_EQ(state.availabilityHistory().size(), 3u);
}

TEST_F(AgentStateTest, keepsFiftyChangesOfAvailability)
{
    state.startObserving();
    for (int i = 0; i < 51; ++i) {
        platform.time.advance(1s);
        platform.sessionEvents.present = i % 2 == 0 ? Availability::screenLocked : Availability::ready;
        state.refreshAvailability();
    }

    ASSERT_EQ(state.availabilityHistory().size(), 50u);
    EXPECT_EQ(state.availabilityHistory().front().at, platform.time.date());
    EXPECT_EQ(state.availabilityHistory().back().at, platform.time.date() - 49s);
    EXPECT_EQ(stored::decodeList<AvailabilityChange>(content("zelvo.availabilityHistory")),
              state.availabilityHistory());
}

// Starting.

TEST_F(AgentStateTest, restoresItsListsAfterARestart)
{
    state.startObserving();
    state.grant(acme());
    state.setShareRecordings(false, "con_1");
    platform.sessionEvents.tell(SessionEvent::screenLocked);
    platform.sessionEvents.tell(SessionEvent::screenUnlocked);
    state.setPaused(true);
    state.markWorking();

    AgentState next(services());
    next.startObserving();

    EXPECT_EQ(next.connections(), state.connections());
    EXPECT_EQ(next.activity(), state.activity());
    EXPECT_EQ(next.availabilityHistory(), state.availabilityHistory());
    EXPECT_EQ(next.currentState(), (StateMirror{false, Availability::ready, {"con_1"}}));
    EXPECT_FALSE(next.isPaused());
    EXPECT_FALSE(next.isAgentWorking());
}

TEST_F(AgentStateTest, readsABrokenListAsEmptyAndKeepsTheOthers)
{
    state.grant(acme());
    for (std::string const broken : {"", "{", "{}", "7", R"(["x"])", R"([{"id":"con_1"}])"}) {
        content("zelvo.connections") = broken;
        content("zelvo.availabilityHistory") = broken;
        AgentState next(services());
        next.startObserving();
        EXPECT_TRUE(next.connections().empty()) << broken;
        EXPECT_TRUE(next.availabilityHistory().empty()) << broken;
        EXPECT_EQ(next.activity(), state.activity()) << broken;
    }
}

TEST_F(AgentStateTest, losesAWholeListToOneBadRecord)
{
    state.grant(acme());
    std::string& list = content("zelvo.connections");
    list.insert(list.size() - 1, R"(,{"id":"con_2"})");

    AgentState next(services());
    next.startObserving();

    EXPECT_TRUE(next.connections().empty());
    EXPECT_TRUE(next.currentState().grantedConnectionIds.empty());
}

TEST_F(AgentStateTest, recordsAChangeWhenItStartsOnALockedScreen)
{
    platform.sessionEvents.present = Availability::screenLocked;

    state.startObserving();

    EXPECT_EQ(state.availability(), Availability::screenLocked);
    EXPECT_EQ(state.availabilityHistory().size(), 1u);
    EXPECT_EQ(state.activity().size(), 1u);
}

TEST_F(AgentStateTest, addsTheFirstChangeToTheStoredHistory)
{
    platform.sessionEvents.present = Availability::screenLocked;
    AgentState(services()).startObserving();

    state.startObserving();

    EXPECT_EQ(state.availabilityHistory().size(), 2u);
    EXPECT_EQ(state.activity().size(), 2u);
}

TEST_F(AgentStateTest, refreshesTheDisplayAtStartAndWhenTheScreensChange)
{
    state.startObserving();
    EXPECT_EQ(displayRefreshes, 1);

    for (auto const& observer : platform.screenSource.observers)
        observer();

    EXPECT_EQ(displayRefreshes, 2);
}

TEST_F(AgentStateTest, startsOnceOnly)
{
    state.startObserving();
    state.startObserving();

    EXPECT_EQ(platform.sessionEvents.observers.size(), 1u);
    EXPECT_EQ(platform.screenSource.observers.size(), 1u);
    EXPECT_EQ(displayRefreshes, 1);
}

TEST_F(AgentStateTest, notifiesObserversOfEveryChange)
{
    state.startObserving();
    int changes = 0;
    boost::signals2::scoped_connection const watching = state.changed.connect([&] { ++changes; });
    auto const changesBy = [&](std::function<void()> verb) {
        int const before = changes;
        verb();
        return changes > before;
    };

    EXPECT_TRUE(changesBy([&] { state.grant(acme()); }));
    EXPECT_TRUE(changesBy([&] { state.setScopes({}, "con_1"); }));
    EXPECT_TRUE(changesBy([&] { state.setShareRecordings(true, "con_1"); }));
    EXPECT_TRUE(changesBy([&] { state.renameConnections({{"con_1", "Bolt"}}); }));
    EXPECT_TRUE(changesBy([&] { state.revoke("con_1"); }));
    EXPECT_TRUE(changesBy([&] { state.log({.platform = "a", .summary = "b"}); }));
    EXPECT_TRUE(changesBy([&] { look({}, {}); }));
    EXPECT_TRUE(changesBy([&] { look({}, {}); }));
    EXPECT_TRUE(changesBy([&] { state.setPaused(true); }));
    EXPECT_TRUE(changesBy([&] { state.setShowAgentCursor(false); }));
    EXPECT_TRUE(changesBy([&] { enter(Kind::connecting); }));
    EXPECT_TRUE(changesBy([&] { platform.sessionEvents.tell(SessionEvent::willSleep); }));
    EXPECT_TRUE(changesBy([&] { state.markWorking(); }));
    EXPECT_TRUE(changesBy([&] { platform.time.advance(3s); }));
}

} // namespace
} // namespace zelvo
