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
    EXPECT_EQ(session->url, "zelvo://link?token=" + session->code);
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
