#include "gateway/support/FakeMachine.h"
#include "gateway/support/Recorded.h"

#include <gmock/gmock.h>

namespace zelvo::service {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string textOf(json::value const& value)
{
    return std::string(value.as_string());
}

struct Audited {
    Recorded on;
    Headers page{on.gateway.consoleSession(), {"Origin", on.gateway.origin()}};

    Answer list(std::string const& query = {}) const
    {
        return on.gateway.platform("GET", "/v1/audit-events" + query);
    }
    /// The types of all events, oldest first.
    std::vector<std::string> types(std::string const& query = {}) const
    {
        std::vector<std::string> all;
        json::value const answer = list(query).json();
        for (json::value const& event : answer.at("data").as_array())
            all.insert(all.begin(), textOf(event.at("type")));
        return all;
    }
    json::object last() const { return list("?limit=1").json().at("data").at(0).as_object(); }
};

TEST(AuditEvents, followWhatHappens)
{
    Audited at;
    Gateway const& gateway = at.on.gateway;
    std::string const connection = at.on.linked.connectionId;
    EXPECT_THAT(at.types(), ElementsAre("link.created", "link.completed", "console.login"));

    std::string const secret = "rm -rf /secret/place";
    gateway.command(connection, "shell.run", R"({"command":")" + secret + "\"}"); // The machine is offline.
    EXPECT_EQ(at.last().at("type"), "command.sent");
    EXPECT_EQ(at.last().at("details").at("method"), "shell.run");
    EXPECT_EQ(textOf(at.last().at("connectionId")), connection);
    EXPECT_EQ(at.last().at("actor"), "platform");
    EXPECT_EQ(at.last().at("apiKey").at("id"), "key_builtin");
    EXPECT_EQ(textOf(at.last().at("apiKey").at("apiKeyPrefix")), gateway.apiKey().substr(0, 11));
    EXPECT_THAT(at.list().body, Not(HasSubstr("secret")));

    json::value const key =
        gateway.call("POST", "/console/keys", R"({"name":"Acme"})", at.page).json().at("key");
    EXPECT_EQ(at.last().at("type"), "key.created");
    EXPECT_EQ(at.last().at("actor"), "admin");
    EXPECT_FALSE(at.last().contains("apiKey"));
    EXPECT_EQ(at.last().at("details").at("keyId"), key.at("id"));
    gateway.call("DELETE", "/console/keys/" + textOf(key.at("id")), "", at.page);
    EXPECT_EQ(at.last().at("type"), "key.revoked");

    std::string const recording = at.on.recording();
    std::string const address = at.on.addressOf(recording);
    for (int i = 0; i < 3; ++i) // A player asks for many parts.
        ASSERT_EQ(gateway.call("GET", address).status, 200);
    gateway.platform("DELETE", "/v1/recordings/" + recording);
    gateway.platform("DELETE", "/v1/recordings/" + recording);
    std::vector<std::string> const types = at.types();
    EXPECT_THAT(std::vector(types.end() - 2, types.end()),
                ElementsAre("recording.watched", "recording.deleted"));
    EXPECT_EQ(textOf(at.last().at("details").at("recordingId")), recording);

    gateway.platform("DELETE", "/v1/connections/" + connection);
    gateway.platform("DELETE", "/v1/connections/" + connection);
    gateway.platform("DELETE", "/v1/machines/" + at.on.linked.machineId);
    gateway.call("DELETE", "/console/session", "", at.page);
    std::vector<std::string> const all = at.types();
    EXPECT_THAT(std::vector(all.end() - 3, all.end()),
                ElementsAre("connection.revoked", "machine.removed", "console.logout"));
}

TEST(AuditEvents, noticeWhatThePersonAtTheMachineDoes)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();
    MachineThread thread;
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);
    auto const last = [&] {
        return gateway.platform("GET", "/v1/audit-events?limit=1").json().at("data").at(0).as_object();
    };

    machine.sendEvent("paused", {});
    EXPECT_TRUE(becomes([&] { return last().at("type") == "machine.paused"; }));
    EXPECT_EQ(last().at("actor"), "end_user");
    EXPECT_EQ(textOf(last().at("machineId")), linked.machineId);
}

TEST(AuditEvents, arePagedAndFilteredByConnection)
{
    Audited at;
    std::string const second = at.on.gateway.connect(at.on.linked);
    at.on.gateway.command(second, "screenshot");

    EXPECT_THAT(at.types("?connectionId=" + second), ElementsAre("link.completed", "command.sent"));
    EXPECT_EQ(at.types("?machineId=" + at.on.linked.machineId).size(), 3u);
    EXPECT_TRUE(at.types("?connectionId=con_0").empty());
    json::value const page = at.list("?limit=2").json();
    ASSERT_EQ(page.at("data").as_array().size(), 2u);
    json::value const next = at.list("?limit=200&before=" + textOf(page.at("nextBefore"))).json();
    EXPECT_EQ(page.at("data").as_array().size() + next.at("data").as_array().size(), at.types().size());
    for (std::string const bad : {"?limit=0", "?limit=201", "?limit=x", "?before=x"})
        EXPECT_EQ(at.list(bad).status, 400) << bad;
}

TEST(AuditEvents, surviveARestart)
{
    Audited at;
    at.on.gateway.command(at.on.linked.connectionId, "screenshot");

    at.on.gateway.stop();
    at.on.gateway.start();

    EXPECT_EQ(at.last().at("type"), "command.sent");
}

TEST(AuditEvents, areForKeysOnly)
{
    Audited at;

    EXPECT_EQ(at.on.gateway.call("GET", "/v1/audit-events").status, 401);
    EXPECT_EQ(at.on.gateway.call("GET", "/v1/audit-events", "", at.page).status, 200);
}

} // namespace
} // namespace zelvo::service
