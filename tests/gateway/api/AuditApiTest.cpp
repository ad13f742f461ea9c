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
    EXPECT_THAT(at.types(),
                ElementsAre("link.created", "link.completed", "recordings.shared", "console.login"));

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

/// A gateway with a machine that is connected.
struct Connected {
    Gateway gateway{[](Settings& settings) { settings.webhooks.toOwnNetwork = true; }};
    LinkedMachine linked = gateway.link();
    MachineThread thread;
    FakeMachine machine{thread, gateway.port(), linked.token};

    json::object last() const
    {
        return gateway.platform("GET", "/v1/audit-events?limit=1").json().at("data").at(0).as_object();
    }
    std::vector<json::object> eventsOf(std::string const& type) const
    {
        std::vector<json::object> events;
        json::value const list = gateway.platform("GET", "/v1/audit-events").json();
        for (json::value const& event : list.at("data").as_array())
            if (textOf(event.at("type")) == type)
                events.push_back(event.as_object());
        return events;
    }
    bool isLast(std::string const& type) const { return textOf(last().at("type")) == type; }
};

TEST(AuditEvents, noticeAConnectionThatThePersonRemoved)
{
    Connected at;
    ASSERT_EQ(at.machine.status(), 101);
    std::string const second = at.gateway.connect(at.linked);
    std::string const third = at.gateway.connect(at.linked);
    at.machine.heartbeatWith({at.linked.connectionId, second, third});
    ASSERT_EQ(at.gateway.platform("DELETE", "/v1/connections/" + third).status, 200);

    at.machine.heartbeatWith({second}); // The third ended because it was revoked.

    EXPECT_TRUE(becomes([&] { return at.isLast("connection.removed"); }));
    EXPECT_EQ(at.last().at("actor"), "end_user");
    EXPECT_EQ(textOf(at.last().at("connectionId")), at.linked.connectionId);
    at.machine.heartbeatWith({second, at.linked.connectionId});
    at.machine.heartbeatWith({second});
    EXPECT_TRUE(becomes([&] { return at.eventsOf("connection.removed").size() == 2; }));
}

TEST(AuditEvents, noticeWhatThePersonAnswersAboutQueuedCommands)
{
    Connected at;
    ASSERT_EQ(at.machine.status(), 101);
    std::string const path = "/v1/connections/" + at.linked.connectionId + "/commands";
    std::string const body = R"({"method":"screenshot","delivery":{"whenUnavailable":"queue"}})";
    at.machine.heartbeat("box", true);
    ASSERT_TRUE(becomes([&] { return at.gateway.platform("POST", path, body).status == 202; }));
    at.machine.heartbeat();
    ASSERT_TRUE(becomes([&] { return !at.machine.framesOf("queue.offer").empty(); }));
    json::object const offer = at.machine.framesOf("queue.offer")[0];
    json::value const id = offer.at("params").at("commands").at(0).at("commandId");

    at.machine.sendEvent("queued_commands_ack", {{"declined", {id, "cmd_made_up"}}}, at.linked.connectionId);

    auto const declined = [&] { return at.eventsOf("commands.declined"); };
    ASSERT_TRUE(becomes([&] { return declined().size() == 1; }));
    EXPECT_EQ(declined()[0].at("actor"), "end_user");
    EXPECT_EQ(declined()[0].at("details").at("commandIds"), json::value(json::array{id}));
}

TEST(AuditEvents, noticeWhetherRecordingsAreShared)
{
    Audited at;
    std::size_t const before = at.types().size();

    for (bool const shared : {true, false, false, true, true}) // It was shared before.
        at.on.share(shared);

    std::vector<std::string> const types = at.types();
    EXPECT_THAT(std::vector(types.begin() + static_cast<std::ptrdiff_t>(before), types.end()),
                ElementsAre("recordings.unshared", "recordings.shared"));
    EXPECT_EQ(at.last().at("actor"), "end_user");
    EXPECT_EQ(textOf(at.last().at("connectionId")), at.on.linked.connectionId);
}

TEST(AuditEvents, followEndUsers)
{
    Audited at;
    auto const add = [&](std::string const& body) {
        return textOf(at.on.gateway.platform("POST", "/v1/end-users", body).json().at("id"));
    };
    std::size_t const before = at.types().size();

    std::string const id = add(R"({"externalId":"eve","name":"Eve Secret"})");
    add(R"({"externalId":"eve","name":"Eve Secret"})");
    add(R"({"externalId":"eve","name":"Eva Secret"})");

    std::vector<std::string> const types = at.types();
    EXPECT_THAT(std::vector(types.begin() + static_cast<std::ptrdiff_t>(before), types.end()),
                ElementsAre("end_user.created", "end_user.changed"));
    EXPECT_EQ(textOf(at.last().at("details").at("endUserId")), id);
    EXPECT_THAT(at.list().body, Not(HasSubstr("Secret")));
}

TEST(AuditEvents, followWebhooks)
{
    Connected at;
    std::string const url = "http://127.0.0.1:9/hook?token=secret";
    Answer const made = at.gateway.platform("POST", "/v1/webhooks", writeJson(json::object{{"url", url}}));
    std::string const webhook = textOf(made.json().at("id"));
    std::string const path = "/v1/webhooks/" + webhook;
    EXPECT_TRUE(at.isLast("webhook.created"));
    EXPECT_EQ(at.last().at("actor"), "platform");
    EXPECT_EQ(textOf(at.last().at("details").at("webhookId")), webhook);
    EXPECT_EQ(at.last().at("details").at("host"), "127.0.0.1");

    at.gateway.connect(at.linked);
    json::value const list = at.gateway.platform("GET", path + "/deliveries").json();
    std::string const delivery = textOf(list.at("data").at(0).at("id"));
    at.gateway.platform("POST", path + "/deliveries/" + delivery + "/send");
    EXPECT_TRUE(at.isLast("webhook.sent_again"));
    EXPECT_EQ(textOf(at.last().at("details").at("deliveryId")), delivery);
    at.gateway.platform("POST", path + "/enable");
    EXPECT_TRUE(at.isLast("webhook.enabled"));
    std::string const secret = textOf(at.gateway.platform("POST", path + "/secret").json().at("secret"));
    EXPECT_TRUE(at.isLast("webhook.secret_replaced"));
    at.gateway.platform("DELETE", path);
    at.gateway.platform("DELETE", path);
    EXPECT_TRUE(at.isLast("webhook.removed"));
    std::string const all = at.gateway.platform("GET", "/v1/audit-events").body;
    EXPECT_THAT(all, Not(HasSubstr("token=secret")));
    EXPECT_THAT(all, Not(HasSubstr(secret)));
}

TEST(AuditEvents, noticeThatTheBuiltInKeyWasReplaced)
{
    Audited at;
    at.on.gateway.stop();
    at.on.gateway.start();
    EXPECT_THAT(at.types(), testing::Not(testing::Contains("key.replaced")));
    at.on.gateway.stop();
    std::filesystem::remove(at.on.gateway.data() / "api-key");
    at.on.gateway.clock.advance(1s);

    at.on.gateway.start();

    EXPECT_EQ(at.last().at("type"), "key.replaced");
    EXPECT_EQ(at.last().at("actor"), "admin");
    EXPECT_EQ(textOf(at.last().at("details").at("apiKeyPrefix")), at.on.gateway.apiKey().substr(0, 11));
}

TEST(AuditEvents, arePagedAndFilteredByConnection)
{
    Audited at;
    std::string const second = at.on.gateway.connect(at.on.linked);
    at.on.gateway.command(second, "screenshot");

    EXPECT_THAT(at.types("?connectionId=" + second), ElementsAre("link.completed", "command.sent"));
    EXPECT_EQ(at.types("?machineId=" + at.on.linked.machineId).size(), 4u);
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
