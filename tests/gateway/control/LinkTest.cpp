#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"
#include "wire/AgentMode.h"
#include "wire/records/Connections.h"
#include "wire/records/ServiceLinking.h"
#include "wire/records/ServiceMachines.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

std::string textAt(Answer const& answer, std::string const& key)
{
    return read::text(answer.json().as_object(), key).value_or("");
}

TEST(Link, joinsAMachineThatThenTakesCommands)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);

    Answer const answer = gateway.command(linked.connectionId, "display.info");

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.body, R"({"result":{"ok":true}})");
}

TEST(Link, givesASessionWithItsUrl)
{
    Gateway gateway;

    Answer const answer =
        gateway.platform("POST", "/v1/link-sessions", R"({"endUserId":"ada","scopes":["shell","screen"]})");

    EXPECT_EQ(answer.status, 201);
    auto const session = records::fromText<records::LinkSession>(answer.body);
    ASSERT_TRUE(session);
    EXPECT_EQ(session->url, gateway.origin() + "/link#" + session->code);
    EXPECT_EQ(session->code.size(), 64u);
}

TEST(Link, tellsWhoAsksForWhat)
{
    Gateway gateway([](Settings& settings) {
        settings.platformName = "Acme";
        settings.personal = true;
    });

    Answer const answer = gateway.resolve(gateway.newLink(R"(["files","screen","files"])"));

    ASSERT_EQ(answer.status, 200);
    json::value const body = answer.json();
    EXPECT_EQ(body.at("platform"), *parseJson(R"({"name": "Acme", "isPersonal": true})"));
    EXPECT_EQ(writeJson(body.at("requestedScopes")), R"(["screen","files"])");
    EXPECT_FALSE(textAt(answer, "machineToken").empty());
    EXPECT_FALSE(textAt(answer, "machineId").empty());
}

TEST(Link, keepsTheTokenOfAMachineThatIsKnown)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();

    Answer const again = gateway.resolve(gateway.newLink(), linked.token);

    EXPECT_EQ(textAt(again, "machineId"), linked.machineId);
    EXPECT_FALSE(again.json().as_object().contains("machineToken"));
}

TEST(Link, givesANewTokenForOneThatIsNotKnown)
{
    Gateway gateway;

    Answer const answer = gateway.resolve(gateway.newLink(), "no such token");

    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(textAt(answer, "machineToken").size(), 64u);
}

TEST(Link, makesOneMachineHoweverOftenItIsResolved)
{
    Gateway gateway;
    std::string const link = gateway.newLink();

    Answer const first = gateway.resolve(link);
    Answer const second = gateway.resolve(link);

    EXPECT_EQ(textAt(first, "machineId"), textAt(second, "machineId"));
    EXPECT_EQ(gateway.complete(link, textAt(first, "machineToken")).status, 401);
    EXPECT_EQ(gateway.complete(link, textAt(second, "machineToken")).status, 200);
}

TEST(Link, neverTakesAnotherLinksMachineOver)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();
    std::string const link = gateway.newLink();
    gateway.resolve(link, linked.token);

    Answer const stranger = gateway.resolve(link);

    EXPECT_NE(textAt(stranger, "machineId"), linked.machineId);
}

TEST(Link, isRefusedWhenItIsNotKnown)
{
    Gateway gateway;

    Answer const answer = gateway.resolve("no such link");

    EXPECT_EQ(answer.status, 404);
    EXPECT_EQ(answer.errorCode(), "not_found");
    auto const error = records::fromText<records::APIError>(answer.body);
    ASSERT_TRUE(error);
    EXPECT_FALSE(error->error.message.empty());
    EXPECT_FALSE(error->error.requestId.empty());
    EXPECT_EQ(gateway.complete("no such link", "x").status, 404);
}

TEST(Link, worksOnce)
{
    Gateway gateway;
    std::string const link = gateway.newLink();
    std::string const token = textAt(gateway.resolve(link), "machineToken");
    ASSERT_EQ(gateway.complete(link, token).status, 200);

    EXPECT_EQ(gateway.resolve(link, token).errorCode(), "link_session_expired");
    Answer const again = gateway.complete(link, token);

    EXPECT_EQ(again.status, 410);
    EXPECT_EQ(again.errorCode(), "link_session_expired");
}

TEST(Link, expires)
{
    Gateway gateway([](Settings& settings) { settings.linkLifetime = -1s; });

    Answer const answer = gateway.resolve(gateway.newLink());

    EXPECT_EQ(answer.status, 410);
    EXPECT_EQ(answer.errorCode(), "link_session_expired");
}

TEST(Link, asksForANewerApp)
{
    Gateway gateway([](Settings& settings) { settings.minimumAppVersion = "0.10"; });

    EXPECT_EQ(gateway.resolve(gateway.newLink(), "", "0.9.9").status, 426);
    EXPECT_EQ(gateway.resolve(gateway.newLink(), "", "0.9.9").errorCode(), "app_update_required");
    EXPECT_EQ(gateway.resolve(gateway.newLink(), "", "0.10.0").status, 200);
}

TEST(Link, isCompletedOnlyByTheMachineThatOpenedIt)
{
    Gateway gateway;
    LinkedMachine const other = gateway.link();
    std::string const link = gateway.newLink();
    std::string const token = textAt(gateway.resolve(link), "machineToken");

    EXPECT_EQ(gateway.complete(link, other.token).status, 403);
    EXPECT_EQ(gateway.complete(link, "").status, 401);
    EXPECT_EQ(gateway.complete(link, token).status, 200);
}

TEST(Link, isNotCompletedBeforeItWasResolved)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();

    EXPECT_EQ(gateway.complete(gateway.newLink(), linked.token).status, 403);
}

TEST(Link, grantsOnlyWhatWasAskedFor)
{
    Gateway gateway;
    std::string const link = gateway.newLink(R"(["screen","input"])");
    std::string const token = textAt(gateway.resolve(link), "machineToken");

    for (std::string const scopes :
         {R"(["screen","shell"])", R"(["input"])", "[]", R"(["vnc"])", "5", "null", R"("screen")"})
        EXPECT_EQ(gateway.complete(link, token, scopes).status, 400) << scopes;
    Answer const answer = gateway.complete(link, token, R"(["input","screen","screen"])");

    EXPECT_EQ(answer.status, 200);
    auto const list = gateway.platform("GET", "/v1/connections").json();
    EXPECT_EQ(writeJson(list.at("data").at(0).at("scopes")), R"(["screen","input"])");
}

TEST(Link, refusesBadBodies)
{
    Gateway gateway;

    for (std::string const body :
         {"", "5", "[]", "{", "{}", R"({"token": 5})", R"({"token": null})", "\xff"}) {
        EXPECT_EQ(gateway.call("POST", "/machines/link/resolve", body).status, 400) << body;
        EXPECT_EQ(gateway.call("POST", "/machines/link/complete", body).status, 400) << body;
    }
    for (std::string const body :
         {"", "[]", "{}", R"({"endUserId":"a"})", R"({"endUserId":"a","scopes":["vnc"]})",
          R"({"endUserId":"a","scopes":[]})", R"({"endUserId":"","scopes":["screen"]})",
          R"({"endUserId":5,"scopes":["screen"]})"})
        EXPECT_EQ(gateway.platform("POST", "/v1/link-sessions", body).errorCode(), "invalid_request") << body;
}

TEST(Link, takesNoLargeBodyFromStrangers)
{
    Gateway gateway;

    EXPECT_EQ(gateway.call("POST", "/machines/link/resolve", std::string(65UL * 1024, 'x')).status, 413);
}

TEST(Link, namesItsPageByAnAddressThatIsOursAlone)
{
    Gateway gateway;
    std::string const port = std::to_string(gateway.port());

    Answer const answer =
        gateway.platform("POST", "/v1/link-sessions", R"({"endUserId":"ada","scopes":["screen"]})",
                         {{"Host", "localhost:" + port}});

    EXPECT_TRUE(textAt(answer, "url").starts_with(gateway.origin() + "/link#")) << answer.body;
}

TEST(Link, takesOnlyWebAddressesToReturnTo)
{
    Gateway gateway;
    auto const statusFor = [&](json::value const& url) {
        json::object const body{
            {"endUserId", "ada"}, {"scopes", json::array{"screen"}}, {"redirectUrl", url}};
        return gateway.platform("POST", "/v1/link-sessions", writeJson(body)).status;
    };

    for (char const* const url : {"https://acme.example/done?a=b#c", "HTTPS://acme.example",
                                  "http://127.0.0.1:3000/done", "http://localhost:3000", "http://[::1]/x"})
        EXPECT_EQ(statusFor(url), 201) << url;
    for (std::string const& url :
         {std::string("http://acme.example/"), std::string("javascript:alert(1)"),
          std::string("//acme.example"), std::string("/done"), std::string(""),
          std::string("zelvo://link?token=x"), std::string("https://user@acme.example/"),
          std::string("https:///done"), std::string("https://acme.example/a b"),
          std::string("http://localhost.acme.example/"), std::string("http://127.0.0.1@acme.example/"),
          std::string("data:text/html,x"), "https://acme.example/" + std::string(2048, 'a')})
        EXPECT_EQ(statusFor(url.c_str()), 400) << url;
    EXPECT_EQ(statusFor(5), 400);
}

TEST(Link, doesNotGiveAMachineToTwoUsers)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();
    std::string const own = gateway.newLink();
    std::string const foreign = gateway.newLink(R"(["screen"])", "bob");

    Answer const refused = gateway.resolve(foreign, linked.token);

    EXPECT_EQ(refused.status, 409);
    EXPECT_EQ(refused.errorCode(), "machine_already_linked_to_other_user");
    EXPECT_EQ(gateway.resolve(own, linked.token).status, 200);
}

TEST(Link, doesNotGiveAMachineToTwoUsersAtOnce)
{
    Gateway gateway;
    std::string const first = gateway.newLink();
    std::string const second = gateway.newLink(R"(["screen"])", "bob");
    std::string const token = textAt(gateway.resolve(first), "machineToken");
    ASSERT_EQ(gateway.resolve(second, token).status, 200);
    ASSERT_EQ(gateway.complete(first, token).status, 200);

    Answer const refused = gateway.complete(second, token);

    EXPECT_EQ(refused.errorCode(), "machine_already_linked_to_other_user");
}

TEST(Link, givesAMachineToAnotherUserOnceItsConnectionsEnded)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();
    std::string const link = gateway.newLink(R"(["screen"])", "bob");
    ASSERT_EQ(gateway.resolve(link, linked.token).status, 409);

    gateway.platform("DELETE", "/v1/connections/" + linked.connectionId);

    EXPECT_EQ(gateway.resolve(link, linked.token).status, 200);
    EXPECT_EQ(gateway.complete(link, linked.token).status, 200);
}

TEST(Link, givesAMachineToAnotherUserOnceItsPersonEndedTheConnectionsThere)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    std::string const link = gateway.newLink(R"(["screen"])", "bob");
    machine.heartbeatWith({linked.connectionId});
    ASSERT_TRUE(becomes([&] {
        Answer const answer = gateway.platform("GET", "/v1/connections/" + linked.connectionId);
        return answer.json().as_object().contains("grantedOnMac");
    }));
    ASSERT_EQ(gateway.resolve(link, linked.token).status, 409);

    machine.heartbeatWith({});

    EXPECT_TRUE(becomes([&] { return gateway.resolve(link, linked.token).status == 200; }));
}

TEST(LinkSession, tellsWhatBecameOfIt)
{
    Gateway gateway;
    Answer const made = gateway.platform(
        "POST", "/v1/link-sessions",
        R"({"endUserId":"ada","scopes":["screen"],"redirectUrl":"https://acme.example/done"})");
    std::string const path = "/v1/link-sessions/" + textAt(made, "id");
    std::string const code = textAt(made, "code");

    json::value const open = gateway.platform("GET", path).json();
    std::string const token = textAt(gateway.resolve(code), "machineToken");
    std::string const connection = textAt(gateway.complete(code, token), "connectionId");
    json::value const completed = gateway.platform("GET", path).json();

    EXPECT_EQ(open.at("status").as_string(), "open");
    EXPECT_EQ(open.at("redirectUrl").as_string(), "https://acme.example/done");
    EXPECT_FALSE(open.as_object().contains("connectionId"));
    EXPECT_EQ(completed.at("status").as_string(), "completed");
    EXPECT_EQ(completed.at("connectionId").as_string(), connection);
    EXPECT_EQ(writeJson(completed).find(code), std::string::npos);
    EXPECT_EQ(gateway.platform("GET", "/v1/link-sessions/none").errorCode(), "not_found");
    EXPECT_EQ(gateway.call("GET", path).status, 401);
}

TEST(LinkSession, expires)
{
    Gateway gateway([](Settings& settings) { settings.linkLifetime = -1s; });
    gateway.newLink();

    json::value const list = gateway.platform("GET", "/v1/link-sessions").json();

    EXPECT_EQ(list.at("data").at(0).at("status").as_string(), "expired");
}

TEST(EndUsers, areMadeOnce)
{
    Gateway gateway;

    auto const first = records::fromText<records::EndUser>(
        gateway.platform("POST", "/v1/end-users", R"({"externalId":"7","name":"Ada"})").body);
    auto const second = records::fromText<records::EndUser>(
        gateway.platform("POST", "/v1/end-users", R"({"externalId":"7","name":"Ada L."})").body);

    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->id, second->id);
    EXPECT_EQ(second->name, "Ada L.");
    EXPECT_EQ(gateway.platform("POST", "/v1/end-users", "{}").status, 400);
}

TEST(CloudMachine, isProvisionedWithAllScopes)
{
    Gateway gateway;
    MachineThread thread;

    Answer const answer = gateway.platform("POST", "/v1/cloud-machines", R"({"endUserId":"ada"})");

    ASSERT_EQ(answer.status, 201);
    FakeMachine machine(thread, gateway.port(), textAt(answer, "machineToken"));
    EXPECT_EQ(machine.status(), 101);
    auto const list = gateway.platform("GET", "/v1/connections").json();
    auto const connection = records::fromJson<records::Connection>(list.at("data").at(0));
    ASSERT_TRUE(connection);
    EXPECT_EQ(connection->id, textAt(answer, "connectionId"));
    EXPECT_EQ(connection->kind, AgentMode::cloud);
    EXPECT_EQ(connection->scopes.size(), 6u);
    EXPECT_EQ(connection->endUserId, "ada");
}

} // namespace
} // namespace zelvo::service
