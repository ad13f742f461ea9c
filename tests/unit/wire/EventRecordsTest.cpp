#include "wire/records/Connections.h"
#include "wire/records/Events.h"
#include "wire/records/Heartbeat.h"

#include <gtest/gtest.h>

namespace zelvo::records {
namespace {

std::string_view const heartbeatText =
    R"({"appVersion": "0.1.0", "availability": "screen_locked", "computerName": "box", "diskFreeGb": 12.5,
        "display": {"displayId": 66, "heightPoints": 1080, "scaleFactor": 1, "widthPoints": 1920},
        "features": ["connection_names", "agents"], "grantedConnectionIds": [], "hiddenAppCount": 0,
        "macosVersion": "12.0.0", "memUsedMb": 40, "mode": "cloud", "paused": false,
        "permissions": {"accessibility": true, "screenRecording": false}, "recording": "off"})";

TEST(Heartbeat, readsTheRecordOfTheAgent)
{
    auto const heartbeat = fromText<Heartbeat>(heartbeatText);

    ASSERT_TRUE(heartbeat);
    EXPECT_EQ(heartbeat->availability, Availability::screenLocked);
    EXPECT_EQ(heartbeat->mode, AgentMode::cloud);
    EXPECT_EQ(heartbeat->display->widthPoints, 1920);
    EXPECT_EQ(heartbeat->permissions, (Permissions{.accessibility = true, .screenRecording = false}));
    EXPECT_EQ(heartbeat->recording, RecordingEnum::off);
    EXPECT_FALSE(heartbeat->os);
    EXPECT_EQ(fromJson<Heartbeat>(toJson(*heartbeat)), heartbeat);
}

TEST(Heartbeat, mayHaveNoDisplay)
{
    json::object object = parseJson(heartbeatText)->as_object();
    object["display"] = nullptr;

    auto const heartbeat = fromJson<Heartbeat>(object);

    ASSERT_TRUE(heartbeat);
    EXPECT_FALSE(heartbeat->display);
}

TEST(Heartbeat, needsPermissionsAndMode)
{
    for (std::string_view const key :
         {"permissions", "mode", "appVersion", "availability", "hiddenAppCount", "macosVersion", "paused"}) {
        json::object object = parseJson(heartbeatText)->as_object();
        object.erase(key);
        EXPECT_FALSE(fromJson<Heartbeat>(object)) << key;
    }
}

TEST(MachineEvent, readsItsNames)
{
    for (std::string_view const name :
         {"agent_pause", "agent_resume", "availability_changed", "connection_revoked", "paused",
          "permissions_changed", "queued_commands_ack", "recording_ready", "resumed"}) {
        auto const event = fromText<MachineEvent>(R"({"event": ")" + std::string(name) + R"(", "data": {}})");
        ASSERT_TRUE(event) << name;
        EXPECT_EQ(rawValue(event->event), name);
    }
    EXPECT_FALSE(fromText<MachineEvent>(R"({"event": "Paused", "data": {}})"));
}

TEST(AgentsUpdate, readsHolderAndLists)
{
    auto const update = fromText<AgentsUpdate>(
        R"({"holder": {"name": "A", "ref": "1", "since": "2026-11-21T00:00:00Z", "task": "t"}, "paused": [],
            "waiting": [{"connectionId": "c", "name": "B", "ref": "2", "since": "x"}]})");

    ASSERT_TRUE(update);
    EXPECT_EQ(update->holder->task, "t");
    EXPECT_EQ(update->waiting.at(0).connectionId, "c");
    EXPECT_FALSE(fromText<AgentsUpdate>(R"({"paused": []})"));
}

TEST(QueuedCommand, mayCarryAnyResult)
{
    auto const command = fromText<QueuedCommand>(
        R"({"commandId": "q", "expiresAt": "x", "status": "completed", "result": [true]})");

    ASSERT_TRUE(command);
    EXPECT_EQ(command->status, CommandStatus::completed);
    EXPECT_EQ(writeJson(*command->result), "[true]");
}

} // namespace
} // namespace zelvo::records
