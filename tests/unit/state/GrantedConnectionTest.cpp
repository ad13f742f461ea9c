#include "state/GrantedConnection.h"

#include <gtest/gtest.h>

namespace zelvo {
namespace {

GrantedConnection acme()
{
    ConfirmationPolicy policy;
    policy.confirmFileWrite = true;
    return {"con_1", "Acme", {AgentScope::files, AgentScope::screen}, policy, {}};
}

TEST(GrantedConnection, holdsItsScopesOnly)
{
    for (AgentScope const scope : allScopes)
        EXPECT_EQ(acme().holds(scope), scope == AgentScope::files || scope == AgentScope::screen)
            << rawValue(scope);
}

TEST(GrantedConnection, writesItsFieldsByName)
{
    EXPECT_EQ(json::value(acme().toJson()),
              *parseJson(R"({"id":"con_1","platformName":"Acme","scopes":["files","screen"],"policy":)" +
                         writeJson(acme().policy.toJson()) + '}'));
}

TEST(GrantedConnection, leavesOutAnUngivenAnswerOnSharing)
{
    GrantedConnection connection = acme();
    EXPECT_FALSE(connection.toJson().contains("shareRecordings"));

    connection.shareRecordings = false;
    EXPECT_EQ(connection.toJson().at("shareRecordings"), false);
}

TEST(GrantedConnection, readsWhatItWrote)
{
    GrantedConnection connection = acme();
    for (std::optional<bool> const answer :
         {std::optional<bool>(), std::optional(true), std::optional(false)}) {
        connection.shareRecordings = answer;
        EXPECT_EQ(GrantedConnection::fromJson(*parseJson(writeJson(connection.toJson()))), connection);
    }
    connection.scopes.clear();
    EXPECT_EQ(GrantedConnection::fromJson(connection.toJson()), connection);
}

TEST(GrantedConnection, takesNullForAnAnswerThatWasNotGiven)
{
    json::object stored = acme().toJson();
    stored["shareRecordings"] = nullptr;

    EXPECT_EQ(GrantedConnection::fromJson(stored), acme());
}

TEST(GrantedConnection, needsEveryOtherFieldWithItsType)
{
    for (std::string const key : {"id", "platformName", "scopes", "policy"}) {
        json::object stored = acme().toJson();
        stored.erase(key);
        EXPECT_FALSE(GrantedConnection::fromJson(stored)) << key;

        stored[key] = 5;
        EXPECT_FALSE(GrantedConnection::fromJson(stored)) << key;
    }
    json::object stored = acme().toJson();
    stored["shareRecordings"] = "yes";
    EXPECT_FALSE(GrantedConnection::fromJson(stored));
}

TEST(GrantedConnection, failsForAnUnknownScopeOrABrokenPolicy)
{
    json::object stored = acme().toJson();
    stored["scopes"] = json::array{"screen", "telepathy"};
    EXPECT_FALSE(GrantedConnection::fromJson(stored));

    stored["scopes"] = json::array{"screen", 1};
    EXPECT_FALSE(GrantedConnection::fromJson(stored));

    stored = acme().toJson();
    stored["policy"] = json::object{{"confirmShell", "yes"}};
    EXPECT_FALSE(GrantedConnection::fromJson(stored));
}

TEST(GrantedConnection, bringsAnOlderPolicyUpToDate)
{
    json::object stored = acme().toJson();
    stored["policy"] =
        json::object{{"version", 1}, {"confirmDangerousActions", false}, {"confirmFileWrite", true}};

    EXPECT_EQ(GrantedConnection::fromJson(stored), acme());
}

TEST(ConnectionMap, isStoredAsAnArrayAndReadById)
{
    GrantedConnection other = acme();
    other.id = "con_2";
    ConnectionMap const connections = {{"con_1", acme()}, {"con_2", other}};

    std::string const bytes = encodeConnections(connections);

    EXPECT_TRUE(parseJson(bytes)->is_array());
    EXPECT_EQ(decodeConnections(bytes), connections);
    EXPECT_EQ(encodeConnections({}), "[]");
}

TEST(ConnectionMap, keepsTheLastOfTwoRecordsOfAnId)
{
    GrantedConnection later = acme();
    later.platformName = "Later";
    std::string const bytes = writeJson(json::array{acme().toJson(), later.toJson()});

    EXPECT_EQ(decodeConnections(bytes), (ConnectionMap{{"con_1", later}}));
}

TEST(ConnectionMap, givesNothingForBrokenBytesOrOneBadRecord)
{
    for (std::string const bytes : {"", "{", "{}", "null", "[1]", "[{}]", "[]]"})
        EXPECT_FALSE(decodeConnections(bytes)) << bytes;

    EXPECT_FALSE(decodeConnections(writeJson(json::array{acme().toJson(), json::object{{"id", "con_2"}}})));
}

} // namespace
} // namespace zelvo
