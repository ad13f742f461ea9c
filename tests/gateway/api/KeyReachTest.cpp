#include "gateway/support/Recorded.h"

#include <gmock/gmock.h>

#include <set>

namespace zelvo::service {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

/// A machine of "ada" with a recording and a queued command, one of "bob", and keys that reach one of them.
class KeyReach : public testing::Test {
protected:
    KeyReach()
    {
        json::value const made =
            on.gateway.platform("POST", "/v1/cloud-machines", R"({"endUserId":"bob"})").json();
        bobsMachine = textOf(made.at("machineId"));
        bobs = textOf(made.at("connectionId"));
        recording = on.recording();
        command = textOf(run(builtIn(), adas, queued).json().at("commandId"));
    }

    static std::string textOf(json::value const& value) { return std::string(value.as_string()); }
    static Headers with(std::string const& key) { return {{"Authorization", "Bearer " + key}}; }
    Headers builtIn() const { return with(on.gateway.apiKey()); }
    /// The header of a new key.
    Headers key(std::string const& reach)
    {
        Headers const page{on.gateway.consoleSession(), {"Origin", on.gateway.origin()}};
        Answer const made =
            on.gateway.call("POST", "/console/keys", R"({"name":"Acme",)" + reach + "}", page);
        EXPECT_EQ(made.status, 201) << made.body;
        return with(textOf(made.json().at("text")));
    }
    Headers keyForConnection(std::string const& id) { return key(R"("connections":[")" + id + "\"]"); }
    Headers keyForEndUser(std::string const& id) { return key(R"("endUsers":[")" + id + "\"]"); }

    Answer
    call(Headers const& who, std::string const& method, std::string const& path, std::string const& body = {})
    {
        return on.gateway.call(method, path, body, who);
    }
    Answer run(Headers const& who, std::string const& connection, std::string const& body)
    {
        return call(who, "POST", "/v1/connections/" + connection + "/commands", body);
    }
    std::vector<std::string> idsIn(Headers const& who, std::string const& list)
    {
        std::vector<std::string> ids;
        json::value const answer = call(who, "GET", list).json();
        for (json::value const& one : answer.at("data").as_array())
            ids.push_back(textOf(one.at("id")));
        return ids;
    }

    std::string const queued = R"({"method":"screenshot","delivery":{"whenUnavailable":"queue"}})";
    Recorded on;
    std::string const adas = on.linked.connectionId;
    std::string bobsMachine;
    std::string bobs;
    std::string recording;
    std::string command;
};

/// A call whose target depends on what the caller reaches.
struct Reached {
    std::string method;
    std::string path;
    std::string unknown; ///< the same path with an id that does not exist
    std::string body = {};
    int status = 200; ///< for a caller that reaches it
};

TEST_F(KeyReach, hidesEverythingElseAsIfItDidNotExist)
{
    std::string const commands = "/v1/connections/" + adas + "/commands";
    std::vector<Reached> const calls{
        {"POST", commands, "/v1/connections/con_0/commands", queued, 202},
        {"GET", commands + "/" + command, "/v1/connections/con_0/commands/" + command},
        {"DELETE", commands + "/" + command, "/v1/connections/con_0/commands/" + command},
        {"GET", "/v1/connections/" + adas, "/v1/connections/con_0"},
        {"GET", "/v1/machines/" + on.linked.machineId, "/v1/machines/mch_0"},
        {"GET", "/v1/recordings/" + recording, "/v1/recordings/rec_0"},
        {"GET", "/v1/recordings?before=" + recording, "/v1/recordings?before=rec_0"},
        {"DELETE", "/v1/recordings/" + recording, "/v1/recordings/rec_0"},
        {"DELETE", "/v1/connections/" + adas, "/v1/connections/con_0"},
        {"DELETE", "/v1/machines/" + on.linked.machineId, "/v1/machines/mch_0"},
    };
    for (Headers const& foreign : {keyForConnection(bobs), keyForEndUser("bob")})
        for (Reached const& each : calls) {
            Answer const refused = call(foreign, each.method, each.path, each.body);
            Answer const unknown = call(foreign, each.method, each.unknown, each.body);
            EXPECT_EQ(refused.status, 404) << each.method << " " << each.path;
            EXPECT_EQ(refused.errorCode(), "not_found");
            EXPECT_EQ(refused.json().at("error").at("message"), unknown.json().at("error").at("message"))
                << each.method << " " << each.path;
        }

    Headers const own = keyForConnection(adas);
    for (Reached const& each : calls) { // Nothing was done to them, and a key for them may do it.
        if (each.path == "/v1/machines/" + on.linked.machineId && each.method == "DELETE")
            continue; // Its last connection was revoked just now.
        EXPECT_EQ(call(own, each.method, each.path, each.body).status, each.status)
            << each.method << " " << each.path;
    }
}

TEST_F(KeyReach, leavesEverythingElseOutOfLists)
{
    Headers const adasKey = keyForEndUser("ada");
    Headers const bobsKey = keyForConnection(bobs);

    EXPECT_THAT(idsIn(builtIn(), "/v1/connections"), UnorderedElementsAre(adas, bobs));
    EXPECT_THAT(idsIn(adasKey, "/v1/connections"), ElementsAre(adas));
    EXPECT_THAT(idsIn(bobsKey, "/v1/connections"), ElementsAre(bobs));
    EXPECT_THAT(idsIn(adasKey, "/v1/recordings"), ElementsAre(recording));
    EXPECT_THAT(idsIn(bobsKey, "/v1/recordings"), ElementsAre());
    EXPECT_THAT(idsIn(bobsKey, "/v1/recordings?connectionId=" + adas), ElementsAre());
    EXPECT_THAT(idsIn(bobsKey, "/v1/connections?endUserId=ada"), ElementsAre());
    EXPECT_THAT(idsIn(builtIn(), "/v1/machines"), UnorderedElementsAre(on.linked.machineId, bobsMachine));
    EXPECT_THAT(idsIn(adasKey, "/v1/machines"), ElementsAre(on.linked.machineId));
    EXPECT_THAT(idsIn(bobsKey, "/v1/machines"), ElementsAre(bobsMachine));
    EXPECT_THAT(idsIn(keyForConnection(adas), "/v1/machines"), ElementsAre(on.linked.machineId));
}

TEST_F(KeyReach, listsPagesOfWhatItReaches)
{
    on.gateway.connect(on.linked);
    std::string const third = on.gateway.connect(on.linked);
    Headers const who = key(R"("connections":[")" + adas + R"(",")" + third + "\"]");

    json::value const page = call(who, "GET", "/v1/connections?limit=1").json();
    ASSERT_EQ(page.at("data").as_array().size(), 1u);
    json::value const next =
        call(who, "GET", "/v1/connections?limit=1&before=" + textOf(page.at("nextBefore"))).json();

    EXPECT_EQ(textOf(page.at("data").at(0).at("id")), third);
    EXPECT_EQ(textOf(next.at("data").at(0).at("id")), adas);
    EXPECT_FALSE(next.as_object().contains("nextBefore"));
}

TEST_F(KeyReach, findsEndUsersAndTheirLinksOnly)
{
    std::string const made = call(builtIn(), "POST", "/v1/end-users", R"({"externalId":"eve"})").body;
    std::string const eve = textOf(parseJson(made)->at("id"));
    std::string const link = R"({"endUserId":")" + eve + R"(","scopes":["screen"]})";
    std::string const session = textOf(call(builtIn(), "POST", "/v1/link-sessions", link).json().at("id"));
    Headers const adasKey = keyForEndUser("ada");
    Headers const byId = keyForEndUser(eve);
    Headers const byExternalId = keyForEndUser("eve");

    for (std::string const& path : {"/v1/end-users/" + eve, "/v1/link-sessions/" + session}) {
        EXPECT_EQ(call(adasKey, "GET", path).status, 404) << path;
        EXPECT_EQ(call(keyForConnection(adas), "GET", path).status, 404) << path;
        EXPECT_EQ(call(byId, "GET", path).status, 200) << path;
    }
    EXPECT_THAT(idsIn(adasKey, "/v1/end-users"), ElementsAre());
    EXPECT_THAT(idsIn(byId, "/v1/end-users"), ElementsAre(eve));
    EXPECT_THAT(idsIn(byExternalId, "/v1/end-users"), ElementsAre(eve));
    EXPECT_EQ(call(byExternalId, "GET", "/v1/end-users/" + eve).status, 200);
    EXPECT_THAT(idsIn(byId, "/v1/link-sessions"), ElementsAre(session));
    EXPECT_THAT(idsIn(byExternalId, "/v1/link-sessions"), ElementsAre());
    // A key for an end user that exists may change them by their external id.
    EXPECT_EQ(call(byId, "POST", "/v1/end-users", R"({"externalId":"eve"})").status, 201);
    EXPECT_EQ(call(byId, "POST", "/v1/end-users", R"({"externalId":"mallory"})").status, 403);
}

TEST_F(KeyReach, linksMachinesOfItsEndUsersOnly)
{
    std::string const link = R"({"endUserId":"ada","scopes":["screen"]})";
    std::string const endUser = R"({"externalId":"ada"})";
    std::string const cloud = R"({"endUserId":"ada"})";

    for (Headers const& foreign : {keyForEndUser("bob"), keyForConnection(adas)})
        for (auto const& [path, body] :
             {std::pair{"/v1/link-sessions", link}, std::pair{"/v1/end-users", endUser},
              std::pair{"/v1/cloud-machines", cloud}, std::pair{"/v1/cloud-machines", std::string()}}) {
            Answer const refused = call(foreign, "POST", path, body);
            EXPECT_EQ(refused.status, 403) << path;
            EXPECT_EQ(refused.errorCode(), "forbidden");
        }
    EXPECT_EQ(idsIn(builtIn(), "/v1/connections").size(), 2u);
    Headers const adasKey = keyForEndUser("ada");
    EXPECT_EQ(call(adasKey, "POST", "/v1/link-sessions", link).status, 201);
    EXPECT_EQ(call(adasKey, "POST", "/v1/end-users", endUser).status, 201);
    EXPECT_EQ(call(adasKey, "POST", "/v1/cloud-machines", cloud).status, 201);
}

TEST_F(KeyReach, removesNoMachineThatItReachesInPart)
{
    std::string const second = on.gateway.connect(on.linked);
    Headers const inPart = keyForConnection(second);
    std::string const machine = "/v1/machines/" + on.linked.machineId;

    EXPECT_EQ(call(inPart, "GET", machine).status, 200);
    Answer const refused = call(inPart, "DELETE", machine);
    EXPECT_EQ(refused.status, 403);
    EXPECT_EQ(refused.errorCode(), "forbidden");
    EXPECT_EQ(call(keyForEndUser("ada"), "DELETE", machine).status, 200);
    EXPECT_EQ(call(inPart, "GET", machine).status, 404);
}

TEST_F(KeyReach, seesWhatARemovedMachineEnded)
{
    std::string const second = on.gateway.connect(on.linked);
    Headers const who = keyForEndUser("ada");
    ASSERT_EQ(call(who, "DELETE", "/v1/machines/" + on.linked.machineId).status, 200);

    std::vector<std::pair<std::string, std::string>> seen;
    json::value const events = call(who, "GET", "/v1/audit-events?limit=4").json();
    for (json::value const& event : events.at("data").as_array()) {
        seen.emplace_back(textOf(event.at("type")), textOf(event.at("connectionId")));
        EXPECT_EQ(textOf(event.at("machineId")), on.linked.machineId);
    }

    using Seen = std::pair<std::string, std::string>;
    EXPECT_THAT(seen,
                UnorderedElementsAre(Seen("connection.revoked", adas), Seen("machine.removed", adas),
                                     Seen("connection.revoked", second), Seen("machine.removed", second)));
}

TEST_F(KeyReach, removesNoMachineWithARevokedConnectionThatItDoesNotReach)
{
    std::string const second = on.gateway.connect(on.linked);
    Headers const inPart = keyForConnection(second);
    ASSERT_EQ(call(builtIn(), "DELETE", "/v1/connections/" + adas).status, 200);

    Answer const refused = call(inPart, "DELETE", "/v1/machines/" + on.linked.machineId);

    EXPECT_EQ(refused.status, 403);
    EXPECT_EQ(refused.errorCode(), "forbidden");
    EXPECT_EQ(call(builtIn(), "GET", "/v1/recordings/" + recording).status, 200); // Of that connection.
}

TEST_F(KeyReach, leavesForeignEventsOutOfTheAuditLog)
{
    Headers const adasKey = keyForConnection(adas);
    Headers const bobsKey = keyForEndUser("bob");
    run(adasKey, adas, R"({"method":"screenshot"})");
    run(builtIn(), bobs, R"({"method":"screenshot"})");
    auto const events = [&](Headers const& who, std::string const& query) {
        json::value const answer = call(who, "GET", "/v1/audit-events" + query).json();
        return answer.at("data").as_array();
    };
    auto const connections = [&](Headers const& who) {
        std::set<std::string> all;
        for (json::value const& event : events(who, "?limit=200"))
            all.insert(read::text(event.as_object(), "connectionId").value_or("none"));
        return all;
    };

    EXPECT_THAT(connections(builtIn()), testing::IsSupersetOf({adas, bobs, std::string("none")}));
    EXPECT_THAT(connections(adasKey), ElementsAre(adas));
    EXPECT_THAT(connections(bobsKey), ElementsAre(bobs));
    EXPECT_TRUE(events(bobsKey, "?connectionId=" + adas).empty());
    EXPECT_TRUE(events(bobsKey, "?machineId=" + on.linked.machineId).empty());
    json::value const newest = events(adasKey, "?limit=1").at(0);
    EXPECT_EQ(newest.at("apiKey").at("name"), "Acme");
    EXPECT_FALSE(events(bobsKey, "?limit=1").at(0).as_object().contains("apiKey")); // Another's name.
    std::string const foreign = textOf(events(builtIn(), "?connectionId=" + adas).at(0).at("id"));
    EXPECT_EQ(call(bobsKey, "GET", "/v1/audit-events?before=" + foreign).status,
              call(bobsKey, "GET", "/v1/audit-events?before=aud_0").status);
}

TEST_F(KeyReach, reachesNoMachineThroughARevokedConnection)
{
    Headers const adasKey = keyForConnection(adas);
    ASSERT_EQ(call(adasKey, "DELETE", "/v1/connections/" + adas).status, 200);

    EXPECT_EQ(call(adasKey, "GET", "/v1/machines/" + on.linked.machineId).status, 404);
    EXPECT_EQ(call(adasKey, "DELETE", "/v1/machines/" + on.linked.machineId).status, 404);
    EXPECT_EQ(call(builtIn(), "GET", "/v1/machines/" + on.linked.machineId).status, 200);
}

TEST_F(KeyReach, isNeededOnEveryRoute)
{
    Headers const wrong = with("zk_wrong");
    std::string const commands = "/v1/connections/" + adas + "/commands";
    for (auto const& [method, path] :
         std::vector<std::pair<std::string, std::string>>{{"POST", "/v1/end-users"},
                                                          {"POST", "/v1/link-sessions"},
                                                          {"GET", "/v1/connections"},
                                                          {"GET", "/v1/end-users"},
                                                          {"GET", "/v1/end-users/usr_0"},
                                                          {"GET", "/v1/link-sessions"},
                                                          {"GET", "/v1/link-sessions/lks_0"},
                                                          {"GET", "/v1/machines"},
                                                          {"GET", "/v1/connections/" + adas},
                                                          {"DELETE", "/v1/connections/" + adas},
                                                          {"GET", "/v1/machines/" + bobsMachine},
                                                          {"DELETE", "/v1/machines/" + bobsMachine},
                                                          {"POST", "/v1/cloud-machines"},
                                                          {"GET", "/v1/audit-events"},
                                                          {"POST", commands},
                                                          {"GET", commands + "/" + command},
                                                          {"DELETE", commands + "/" + command},
                                                          {"GET", "/v1/recordings"},
                                                          {"GET", "/v1/recordings/" + recording},
                                                          {"DELETE", "/v1/recordings/" + recording}})
        for (Headers const& who : {wrong, Headers{}})
            EXPECT_EQ(call(who, method, path).status, 401) << method << " " << path;
}

TEST_F(KeyReach, hasAddressesOfRecordingsThatEndWithTheKey)
{
    Headers const page{on.gateway.consoleSession(), {"Origin", on.gateway.origin()}};
    json::value const made = on.gateway.call("POST", "/console/keys", R"({"name":"Acme"})", page).json();
    Headers const who = with(textOf(made.at("text")));
    std::string const url = textOf(call(who, "GET", "/v1/recordings/" + recording).json().at("url"));
    std::string const address = url.substr(url.find("/films/"));
    ASSERT_EQ(on.gateway.call("GET", address).status, 200);

    on.gateway.call("DELETE", "/console/keys/" + textOf(made.at("key").at("id")), "", page);

    EXPECT_EQ(call(who, "GET", "/v1/recordings/" + recording).status, 401);
    EXPECT_EQ(on.gateway.call("GET", address).status, 403);
    EXPECT_EQ(on.gateway.call("GET", on.addressOf(recording)).status, 200);
}

} // namespace
} // namespace zelvo::service
