#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

#include <deque>
#include <vector>

namespace zelvo::service {
namespace {

bool isOnline(Gateway& gateway, LinkedMachine const& linked)
{
    return gateway.platform("GET", "/v1/machines/" + linked.machineId).json().at("online").as_bool();
}

/// Long enough for an answer on a busy machine.
void pingEveryHalfSecond(Settings& settings)
{
    settings.pingPeriod = std::chrono::milliseconds(500);
}

TEST(MachineSocket, refusesATokenThatIsNotKnown)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();

    EXPECT_EQ(FakeMachine(thread, gateway.port(), "nonsense").status(), 401);
    EXPECT_EQ(FakeMachine(thread, gateway.port(), "").status(), 401);
    EXPECT_EQ(FakeMachine(thread, gateway.port(), linked.machineId).status(), 401);
    EXPECT_EQ(FakeMachine(thread, gateway.port(), gateway.apiKey()).status(), 401);
}

TEST(MachineSocket, refusesAnOldVersion)
{
    Gateway gateway([](Settings& settings) { settings.minimumAppVersion = "1.2"; });
    MachineThread thread;
    std::string const token(
        gateway.platform("POST", "/v1/cloud-machines").json().at("machineToken").as_string());

    EXPECT_EQ(FakeMachine(thread, gateway.port(), token, {.version = "1.1.9"}).status(), 426);
    EXPECT_EQ(FakeMachine(thread, gateway.port(), token, {.version = ""}).status(), 426);
    EXPECT_EQ(FakeMachine(thread, gateway.port(), "nonsense", {.version = "1.1.9"}).status(), 401);
    EXPECT_EQ(FakeMachine(thread, gateway.port(), token, {.version = "1.2"}).status(), 101);
}

TEST(MachineSocket, refusesForeignHostsAndOrigins)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();

    EXPECT_EQ(
        FakeMachine(thread, gateway.port(), linked.token, {.headers = {{"Host", "evil.example"}}}).status(),
        403);
    EXPECT_EQ(
        FakeMachine(thread, gateway.port(), linked.token, {.headers = {{"Origin", "http://evil.example"}}})
            .status(),
        403);
}

TEST(MachineSocket, isNeededToConnect)
{
    Gateway gateway;
    LinkedMachine const linked = gateway.link();

    EXPECT_EQ(
        gateway.call("GET", "/machines/connect", "", {{"Authorization", "Bearer " + linked.token}}).status,
        400);
    EXPECT_EQ(gateway.call("GET", "/machines/connect").status, 401);
}

TEST(MachineSocket, ofANewerConnectionReplacesTheOlder)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine older(thread, gateway.port(), linked.token);
    ASSERT_EQ(older.status(), 101);
    FakeMachine newer(thread, gateway.port(), linked.token);
    ASSERT_EQ(newer.status(), 101);

    EXPECT_EQ(older.closeCode(), 4409);
    EXPECT_EQ(gateway.command(linked.connectionId, "display.info").status, 200);
    EXPECT_TRUE(older.frames().empty());
    EXPECT_EQ(newer.frames().size(), 1u);
    EXPECT_TRUE(isOnline(gateway, linked));
}

TEST(MachineSocket, ofARemovedMachineIsClosedWith4401)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);

    EXPECT_EQ(gateway.platform("DELETE", "/v1/machines/" + linked.machineId).status, 200);

    EXPECT_EQ(machine.closeCode(), 4401);
    EXPECT_EQ(FakeMachine(thread, gateway.port(), linked.token).status(), 401);
    EXPECT_EQ(gateway.platform("DELETE", "/v1/machines/" + linked.machineId).status, 404);
    EXPECT_TRUE(gateway.platform("GET", "/v1/connections").json().at("data").as_array().empty());
}

TEST(MachineSocket, isClosedWith1012WhenTheGatewayStops)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);

    gateway.stop();

    EXPECT_EQ(machine.closeCode(), 1012);
}

TEST(MachineSocket, isClosedWith1012WhenItConnectsWhileTheGatewayStops)
{
    Gateway gateway;
    MachineThread thread;
    std::vector<LinkedMachine> linked(8);
    for (LinkedMachine& each : linked)
        each = gateway.link();
    std::deque<FakeMachine> machines;
    for (LinkedMachine const& each : linked)
        machines.emplace_back(thread, gateway.port(), each.token);
    ASSERT_EQ(machines.front().status(), 101);

    gateway.stop();

    for (FakeMachine& machine : machines)
        if (machine.status() == 101)
            EXPECT_EQ(machine.closeCode(), 1012);
}

TEST(MachineSocket, isPingedAndStaysWhenItAnswers)
{
    Gateway gateway(pingEveryHalfSecond);
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);

    EXPECT_TRUE(becomes([&] { return machine.pings() >= 3; }));
    EXPECT_TRUE(isOnline(gateway, linked));
}

TEST(MachineSocket, isDroppedWhenNoPongComes)
{
    Gateway gateway(pingEveryHalfSecond);
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token, {.reads = false});
    ASSERT_EQ(machine.status(), 101);
    ASSERT_TRUE(isOnline(gateway, linked));

    EXPECT_TRUE(becomes([&] { return !isOnline(gateway, linked); }));
}

TEST(MachineSocket, passesOverMessagesThatMeanNothing)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);

    for (std::string const text :
         {"", "nonsense", "5", "null", "[]", "{}", R"({"id": 5})", R"({"id": "nobody asked", "result": 1})",
          R"({"event": 5})", R"({"event": "paused", "data": 5})", R"({"event": "no_such_event", "data": {}})",
          R"({"method": "heartbeat"})", R"({"method": "heartbeat", "params": {}})",
          R"({"method": "heartbeat", "params": 1e400})", R"({"id": "x", "error": 5, "result": 5})"})
        machine.sendText(text);
    machine.sendText(std::string(513, '[') + std::string(513, ']'));
    machine.sendText(std::string(1'000'000, '['));
    machine.sendBinary(R"({"event": "paused", "data": {}})");

    EXPECT_EQ(gateway.command(linked.connectionId, "display.info").status, 200);
    json::value const status = gateway.platform("GET", "/v1/machines/" + linked.machineId).json();
    EXPECT_FALSE(status.at("paused").as_bool());
    EXPECT_EQ(status.at("availability").as_string(), "unknown");
}

TEST(MachineSocket, endsAtTextThatIsNotUtf8)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);

    machine.sendText("\"\xff\"");

    EXPECT_EQ(machine.closeCode(), 1007);
}

TEST(MachineSocket, endsAtALargeMessageThatNobodyAskedFor)
{
    Gateway gateway;
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    ASSERT_EQ(machine.status(), 101);

    machine.sendText(std::string(3_MiB, ' '));

    EXPECT_EQ(machine.closeCode(), 1009);
}

TEST(MachineSocket, endsAtAReplyAboveTheLimit)
{
    Gateway gateway([](Settings& settings) { settings.limits.machineMessage = 2_MiB; });
    MachineThread thread;
    LinkedMachine const linked = gateway.link();
    FakeMachine machine(thread, gateway.port(), linked.token);
    machine.onFrame([](json::object const&) { return resultOf(json::string(3_MiB, 'x')); });
    ASSERT_EQ(machine.status(), 101);

    Answer const answer = gateway.command(linked.connectionId, "files.download");

    EXPECT_EQ(answer.errorCode(), "machine_offline");
    EXPECT_EQ(machine.closeCode(), 1009);
}

TEST(MachineSocket, isTurnedAwayWhenThereAreTooMany)
{
    Gateway gateway([](Settings& settings) { settings.limits.machines = 1; });
    MachineThread thread;
    LinkedMachine const first = gateway.link();
    LinkedMachine const second = gateway.link();
    FakeMachine machine(thread, gateway.port(), first.token);
    ASSERT_EQ(machine.status(), 101);

    EXPECT_EQ(FakeMachine(thread, gateway.port(), second.token).status(), 503);
    EXPECT_EQ(FakeMachine(thread, gateway.port(), first.token).status(), 101);
}

} // namespace
} // namespace zelvo::service
