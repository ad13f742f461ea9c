#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

using records::CommandStatus;
using records::WebhookEventType;

Date const someDay = Date(std::chrono::sys_days(std::chrono::year(2026) / 11 / 21));
constexpr char const* someDayText = "2026-11-21T00:00:00.000Z";

/// A store with a machine, a connection, and a webhook for every event.
class WebhookEvents : public testing::Test {
protected:
    WebhookEvents()
    {
        machine = store.addMachine(AgentMode::connected, someDay).machineId;
        store.addConnection({.id = "con_1",
                             .machineId = machine,
                             .endUserId = "ada",
                             .scopes = {AgentScope::screen},
                             .createdAt = someDayText});
        StoredWebhook wanted{.url = "https://acme.example/", .createdAt = someDayText};
        for (std::string_view const text : EnumTexts<WebhookEventType>::texts)
            wanted.events.push_back(*fromRawValue<WebhookEventType>(text));
        webhook = store.addWebhook(wanted).id;
        store.onDelivery([this] { ++noticed; });
    }

    /// The events so far, oldest first, and no more of them.
    std::vector<records::WebhookEvent> events()
    {
        std::vector<records::WebhookEvent> all;
        for (StoredDelivery const& each : store.dueDeliveries(webhook, someDay + 24h, 100))
            all.push_back(each.event);
        return all;
    }
    records::WebhookEvent only()
    {
        auto const all = events();
        EXPECT_EQ(all.size(), 1U);
        EXPECT_EQ(noticed, 1);
        return all.empty() ? records::WebhookEvent() : all.front();
    }
    void addCommand(std::string const& id)
    {
        store.addCommand({.id = id,
                          .connectionId = "con_1",
                          .method = "shell.run",
                          .summary = "s",
                          .frame = "{}",
                          .expiresAt = someDay + 1h});
    }
    records::Heartbeat heartbeat() const
    {
        records::Heartbeat beat;
        beat.permissions = {.accessibility = true, .screenRecording = true};
        return beat;
    }

    TemporaryFolder folder;
    SqliteStore store{folder.path / "store.sqlite"};
    std::string machine;
    std::string webhook;
    int noticed = 0;
};

TEST_F(WebhookEvents, tellOfAConnection)
{
    StoredLinkSession const session =
        store.addLinkSession({.endUserId = "bob", .expiresAt = someDay}, "code");
    StoredConnection const connection{.id = "con_2",
                                      .machineId = machine,
                                      .endUserId = "bob",
                                      .kind = AgentMode::connected,
                                      .scopes = {AgentScope::screen, AgentScope::input},
                                      .createdAt = someDayText};

    ASSERT_TRUE(store.finishLinkSession(session.id, connection));

    records::WebhookEvent const event = only();
    EXPECT_EQ(event.type, WebhookEventType::connectionCreated);
    EXPECT_EQ(event.createdAt, someDayText);
    EXPECT_TRUE(event.id.starts_with("evt_"));
    EXPECT_EQ(event.data, parseJson(R"({"connectionId": "con_2", "endUserId": "bob", "kind": "connected",
        "linkSessionId": ")" + session.id +
                                    R"(", "machineId": ")" + machine + R"(", "scopes": ["screen", "input"]})")
                              ->as_object());
}

TEST_F(WebhookEvents, tellOfAConnectionWithoutALink)
{
    store.addConnection(
        {.id = "con_2", .machineId = machine, .endUserId = "a\"b'", .createdAt = someDayText});

    json::object const data = only().data;
    EXPECT_EQ(data.at("endUserId").as_string(), "a\"b'");
    EXPECT_TRUE(data.at("scopes").as_array().empty());
    EXPECT_FALSE(data.contains("linkSessionId"));
}

TEST_F(WebhookEvents, tellOnceOfARevocation)
{
    store.revoke("con_1", someDay);
    store.revoke("con_1", someDay + 1h);

    records::WebhookEvent const event = only();
    EXPECT_EQ(event.type, WebhookEventType::connectionRevoked);
    EXPECT_EQ(event.createdAt, someDayText);
    EXPECT_EQ(event.data.at("connectionId").as_string(), "con_1");
    EXPECT_EQ(event.data.at("machineId").as_string(), machine);
    store.removeMachine(machine); // It has no connection that could still end.
    EXPECT_EQ(events().size(), 1U);
}

TEST_F(WebhookEvents, tellOfTheConnectionsOfARemovedMachine)
{
    store.removeMachine(machine);

    EXPECT_EQ(only().type, WebhookEventType::connectionRevoked);
    EXPECT_EQ(only().data.at("connectionId").as_string(), "con_1");
}

TEST_F(WebhookEvents, tellHowCommandsEnded)
{
    for (std::string const id : {"cmd_1", "cmd_2", "cmd_3", "cmd_4"})
        addCommand(id);
    ASSERT_TRUE(store.startCommand("cmd_1", someDay));
    store.requeueCommand("cmd_1");
    ASSERT_TRUE(events().empty());

    store.endCommand("cmd_1", CommandStatus::queued, {.status = CommandStatus::completed, .result = "{}"},
                     someDay);
    store.endCommand(
        "cmd_2", CommandStatus::queued,
        {.status = CommandStatus::failed, .error = R"({"code":"denied_by_user","message":"no"})"}, someDay);
    store.endCommand("cmd_3", CommandStatus::queued, {.status = CommandStatus::canceled}, someDay);
    store.expireCommands(someDay + 2h);

    auto const all = events();
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].type, WebhookEventType::commandCompleted);
    EXPECT_EQ(all[0].createdAt, someDayText);
    EXPECT_EQ(all[0].data, parseJson(R"({"commandId": "cmd_1", "connectionId": "con_1", "endUserId": "ada",
        "machineId": ")" + machine + R"(", "method": "shell.run"})")
                               ->as_object());
    EXPECT_EQ(all[1].type, WebhookEventType::commandFailed);
    EXPECT_EQ(all[1].data.at("errorCode").as_string(), "denied_by_user");
    EXPECT_EQ(all[2].type, WebhookEventType::commandExpired);
    EXPECT_EQ(all[2].data.at("commandId").as_string(), "cmd_4");
    EXPECT_EQ(all[2].createdAt, "2026-11-21T01:00:00.000Z");
}

TEST_F(WebhookEvents, tellOfCommandsThatARestartInterrupted)
{
    addCommand("cmd_1");
    store.startCommand("cmd_1", someDay);

    store.endInterruptedCommands(someDay);

    EXPECT_EQ(only().data.at("errorCode").as_string(), "internal_error");
}

TEST_F(WebhookEvents, tellOfAReadyRecording)
{
    store.addRecording({.id = "rec_1", .connectionId = "con_1", .durationSec = 2.5, .createdAt = someDay},
                       "secret");
    store.moveRecording("rec_1", RecordingStage::open, RecordingStage::receiving, someDay);
    store.moveRecording("rec_1", RecordingStage::receiving, RecordingStage::received, someDay);

    store.moveRecording("rec_1", RecordingStage::received, RecordingStage::ready, someDay);

    records::WebhookEvent const event = only();
    EXPECT_EQ(event.type, WebhookEventType::recordingReady);
    EXPECT_EQ(event.data.at("recordingId").as_string(), "rec_1");
    EXPECT_EQ(event.data.at("durationSEC").as_double(), 2.5);
}

TEST_F(WebhookEvents, tellOfAPauseOnce)
{
    store.setPaused(machine, true, someDay);
    store.setPaused(machine, true, someDay);
    store.setPaused(machine, false, someDay);

    auto const all = events();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].type, WebhookEventType::machinePaused);
    EXPECT_EQ(all[1].type, WebhookEventType::machineResumed);
    EXPECT_EQ(all[0].createdAt, someDayText);
}

TEST_F(WebhookEvents, tellOfChangedPermissionsOnly)
{
    store.saveHeartbeat(machine, heartbeat(), someDay);
    records::Heartbeat beat = heartbeat();
    beat.computerName = "other";
    store.saveHeartbeat(machine, beat, someDay);
    ASSERT_TRUE(events().empty());

    beat.permissions.accessibility = false;
    store.saveHeartbeat(machine, beat, someDay);

    records::WebhookEvent const event = only();
    EXPECT_EQ(event.type, WebhookEventType::machinePermissionsChanged);
    EXPECT_EQ(event.data.at("permissions"),
              parseJson(R"({"accessibility": false, "screenRecording": true})"));
}

TEST_F(WebhookEvents, tellOfAMachineThatComesAndGoes)
{
    store.setOnline(machine, true, someDay);
    store.setOnline(machine, true, someDay);
    EXPECT_EQ(store.onlineMachines(), std::vector{machine});
    store.setOnline(machine, false, someDay);
    store.setOnline(machine, false, someDay);
    store.setOnline("none", true, someDay);

    auto const all = events();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].type, WebhookEventType::machineOnline);
    EXPECT_EQ(all[1].type, WebhookEventType::machineOffline);
    EXPECT_TRUE(store.onlineMachines().empty());
}

TEST_F(WebhookEvents, areAddedByOtherProcessesToo)
{
    SqliteStore other(folder.path / "store.sqlite");

    other.addConnection({.id = "con_2", .machineId = machine, .endUserId = "u", .createdAt = someDayText});

    EXPECT_EQ(events().size(), 1U);
}

TEST_F(WebhookEvents, areNotKeptForADisabledWebhook)
{
    StoredWebhook disabled = *store.webhook(webhook);
    disabled.disabledAt = someDay;
    store.saveWebhook(disabled);

    store.setPaused(machine, true, someDay);

    EXPECT_TRUE(events().empty());
}

TEST_F(WebhookEvents, areForgottenWithTheirLastDelivery)
{
    store.setPaused(machine, true, someDay);
    store.forgetUnusedEvents();
    EXPECT_EQ(events().size(), 1U);

    store.removeWebhook(webhook);
    store.forgetUnusedEvents();

    EXPECT_FALSE(store.webhook(webhook));
}

TEST(WebhookStore, keepsItsSecretsInAFileOfMode0600)
{
    TemporaryFolder folder;
    SqliteStore store(folder.path / "store.sqlite");
    store.addWebhook({.url = "https://acme.example/", .secret = "whsec_abc", .createdAt = someDayText});

    for (char const* const name : {"store.sqlite", "store.sqlite-wal", "store.sqlite-shm"})
        EXPECT_EQ(std::filesystem::status(folder.path / name).permissions(),
                  std::filesystem::perms::owner_read | std::filesystem::perms::owner_write)
            << name;
}

} // namespace
} // namespace zelvo::service
