#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"
#include "wire/records/ServiceMachines.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

records::Machine statusOf(Gateway& gateway, LinkedMachine const& linked)
{
    return records::fromText<records::Machine>(
               gateway.platform("GET", "/v1/machines/" + linked.machineId).body)
        .value_or(records::Machine());
}

TEST(Status, isUnknownBeforeTheFirstHeartbeat)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();

    records::Machine const status = statusOf(gateway, linked);

    EXPECT_EQ(status.availability, records::ReportedAvailability::unknown);
    EXPECT_FALSE(status.online);
    EXPECT_FALSE(status.lastSeenAt);
    EXPECT_FALSE(status.appVersion);
}

TEST(Status, followsTheHeartbeat)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    machine.heartbeat();

    ASSERT_TRUE(becomes([&] { return statusOf(gateway, linked).appVersion.has_value(); }));
    records::Machine const status = statusOf(gateway, linked);

    EXPECT_TRUE(status.online);
    EXPECT_TRUE(status.lastSeenAt);
    EXPECT_EQ(status.availability, records::ReportedAvailability::ready);
    EXPECT_EQ(status.hiddenAppCount, 2);
    EXPECT_EQ(status.display->widthPoints, 1920);
    EXPECT_EQ(status.permissions, (Permissions{.accessibility = true, .screenRecording = false}));
    EXPECT_EQ(status.macosVersion, "12.0.0");
}

TEST(Status, followsPausedAndResumed)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    machine.heartbeat();

    machine.sendText(R"({"event": "paused", "data": {}})");
    EXPECT_TRUE(becomes([&] { return statusOf(gateway, linked).paused; }));
    machine.sendText(R"({"event": "resumed", "data": {}})");
    EXPECT_TRUE(becomes([&] { return !statusOf(gateway, linked).paused; }));
    machine.heartbeat("box", true);
    EXPECT_TRUE(becomes([&] { return statusOf(gateway, linked).paused; }));
}

TEST(Status, becomesOfflineAndKeepsWhatIsKnown)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    machine.heartbeat();
    ASSERT_TRUE(becomes([&] { return statusOf(gateway, linked).appVersion.has_value(); }));

    machine.drop();

    ASSERT_TRUE(becomes([&] { return !statusOf(gateway, linked).online; }));
    records::Machine const status = statusOf(gateway, linked);
    EXPECT_EQ(status.availability, records::ReportedAvailability::unknown);
    EXPECT_EQ(status.appVersion, "0.1.0");
}

TEST(Status, standsInTheConnection)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    machine.heartbeatWith({});
    ASSERT_TRUE(becomes([&] { return statusOf(gateway, linked).appVersion.has_value(); }));

    auto const list = gateway.platform("GET", "/v1/connections").json();
    auto const connection = records::fromJson<records::Connection>(list.at("data").at(0));

    ASSERT_TRUE(connection);
    EXPECT_EQ(connection->id, linked.connectionId);
    EXPECT_EQ(connection->machineId, linked.machineId);
    EXPECT_EQ(connection->kind, AgentMode::connected);
    EXPECT_EQ(connection->status, records::ConnectionStatus::active);
    EXPECT_EQ(connection->grantedOnMac, false);
    EXPECT_EQ(connection->machine, statusOf(gateway, linked));
}

TEST(Status, ofAMachineThatIsNotThereIsNotFound)
{
    Gateway gateway;

    EXPECT_EQ(gateway.platform("GET", "/v1/machines/none").errorCode(), "not_found");
}

} // namespace
} // namespace zelvo::service
