#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"
#include "wire/records/ServiceMachines.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

TEST(Revocation, isToldToTheMachine)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);

    Answer const answer = gateway.platform("DELETE", "/v1/connections/" + linked.connectionId);

    EXPECT_EQ(answer.status, 200);
    auto const connection = records::fromText<records::Connection>(answer.body);
    ASSERT_TRUE(connection);
    EXPECT_EQ(connection->status, records::ConnectionStatus::revoked);
    EXPECT_TRUE(connection->revokedAt);
    ASSERT_TRUE(becomes([&] { return !machine.frames().empty(); }));
    json::object const frame = machine.frames().front();
    EXPECT_EQ(frame.at("method").as_string(), "connection.revoke");
    EXPECT_EQ(writeJson(frame.at("params")), R"({"connectionId":")" + linked.connectionId + "\"}");
    EXPECT_FALSE(frame.contains("connectionId"));
}

TEST(Revocation, endsTheConnectionsCommands)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);

    gateway.platform("DELETE", "/v1/connections/" + linked.connectionId);

    EXPECT_EQ(gateway.command(linked.connectionId, "screenshot").errorCode(), "not_found");
    auto const list = gateway.platform("GET", "/v1/connections").json();
    EXPECT_EQ(list.at("data").at(0).at("status").as_string(), "revoked");
}

TEST(Revocation, keepsItsFirstDate)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();

    Answer const first = gateway.platform("DELETE", "/v1/connections/" + linked.connectionId);
    Answer const second = gateway.platform("DELETE", "/v1/connections/" + linked.connectionId);

    EXPECT_EQ(first.json().at("revokedAt"), second.json().at("revokedAt"));
    EXPECT_EQ(gateway.platform("DELETE", "/v1/connections/none").status, 404);
}

TEST(Revocation, ofAMachineThatIsAwayIsToldWhenItConnects)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    gateway.platform("DELETE", "/v1/connections/" + linked.connectionId);
    gateway.stop();
    gateway.start();

    {
        FakeMachine machine(thread, gateway.port(), linked.token);
        ASSERT_TRUE(becomes([&] { return machine.frames().size() == 1; }));
        EXPECT_EQ(machine.frames().front().at("method").as_string(), "connection.revoke");
        // Frames that are sent after the answer arrive after it.
        machine.heartbeat();
        EXPECT_TRUE(becomes([&] {
            json::value const status = gateway.platform("GET", "/v1/machines/" + linked.machineId).json();
            return status.as_object().contains("appVersion") && !status.at("appVersion").is_null();
        }));
    }

    // Reported once: the next session would report it first, and does not.
    FakeMachine again(thread, gateway.port(), linked.token);
    again.heartbeat();
    ASSERT_TRUE(becomes([&] { return !again.frames().empty(); }));
    EXPECT_EQ(again.frames().front().at("method").as_string(), "agents.update");
}

TEST(Revocation, isToldAgainWhenTheMachineDidNotTakeIt)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    gateway.platform("DELETE", "/v1/connections/" + linked.connectionId);

    for (int i = 0; i < 2; ++i) {
        FakeMachine machine(thread, gateway.port(), linked.token,
                            {.handler = [](json::object const&) { return errorOf("internal_error", "no"); }});
        EXPECT_TRUE(becomes([&] { return machine.frames().size() == 1; })) << i;
    }
}

} // namespace
} // namespace zelvo::service
