#include "base/LocalizedTexts.h"
#include "unit/state/AgentStateFixture.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

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

} // namespace
} // namespace zelvo
