#include "ZelvoGateway/store/SqliteStore.h"
#include "gateway/support/Connected.h"
#include "gateway/support/Scraped.h"

#include <gtest/gtest.h>

#include <thread>

namespace zelvo::service {
namespace {

TEST(MachineLimits, boundTheConnectionsOfAMachineInAMinute)
{
    Gateway gateway([](Settings& settings) {
        withMetrics(settings);
        settings.rates.machineConnections = 2;
    });
    LinkedMachine const linked = gateway.link();
    LinkedMachine const other = gateway.link();
    MachineThread thread;
    auto const status = [&](LinkedMachine const& machine) {
        return FakeMachine(thread, gateway.port(), machine.token).status();
    };

    EXPECT_EQ(status(linked), 101);
    EXPECT_EQ(status(linked), 101);
    EXPECT_EQ(status(linked), 429);

    EXPECT_EQ(refused(gateway, "machine_rate"), 1);
    EXPECT_EQ(status(other), 101);
    gateway.clock.advance(30s);
    EXPECT_EQ(status(linked), 101);
}

TEST(MachineLimits, boundTheWrongTokensOfAnAddress)
{
    Gateway gateway([](Settings& settings) {
        withMetrics(settings);
        settings.wrongTokens.maxAttempts = 2;
    });
    LinkedMachine const linked = gateway.link();
    MachineThread thread;
    auto const status = [&](std::string const& token) {
        return FakeMachine(thread, gateway.port(), token).status();
    };

    EXPECT_EQ(status("wrong"), 401);
    EXPECT_EQ(status("wrong"), 401);
    EXPECT_EQ(status("wrong"), 429);

    EXPECT_EQ(refused(gateway, "wrong_tokens"), 1);
    EXPECT_EQ(status(linked.token), 101); // A right token is never refused.
    gateway.clock.advance(60s);
    EXPECT_EQ(status("wrong"), 401);
}

TEST(MachineLimits, readAMachineThatSendsTooMuchMoreSlowly)
{
    Connected on([](Settings& settings) {
        withMetrics(settings);
        settings.rates.machineMessages = 5;
    });
    for (int i = 0; i < 20; ++i)
        on.machine.heartbeat("box " + std::to_string(i));
    SqliteStore store(on.gateway.data() / "gateway.sqlite");
    auto const name = [&] {
        auto const machine = store.machine(on.linked.machineId);
        return machine && machine->heartbeat ? machine->heartbeat->computerName.value_or("") : "";
    };
    auto const isSlowed = [&] { return refused(on.gateway, "machine_messages"); };
    ASSERT_TRUE(becomes([&] { return isSlowed() == 1; }));
    EXPECT_EQ(name(), "box 5"); // What comes after the sixth waits.

    EXPECT_TRUE(becomes([&] {
        on.gateway.clock.advance(200ms);
        return name() == "box 19";
    }));                          // Nothing is lost.
    on.gateway.clock.advance(1s); // What follows the last of them waits too.
    EXPECT_EQ(on.gateway.command(on.linked.connectionId, "cursor.position").status, 200);
}

TEST(MachineLimits, doNotCountWhatWasAskedFor)
{
    Connected on([](Settings& settings) {
        withMetrics(settings);
        settings.rates.machineMessages = 2;
    });

    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(on.gateway.command(on.linked.connectionId, "cursor.position").status, 200);

    EXPECT_EQ(refused(on.gateway, "machine_messages"), 0);
}

TEST(MachineLimits, boundTheBytesThatNobodyAskedFor)
{
    Connected on([](Settings& settings) {
        withMetrics(settings);
        settings.rates.machineBytes = 100_KiB;
    });
    std::string const junk = R"({"junk":")" + std::string(60_KiB, 'x') + "\"}";

    on.machine.sendText(junk);
    on.machine.sendText(junk);

    EXPECT_TRUE(becomes([&] { return refused(on.gateway, "machine_messages") == 1; }));
}

TEST(MachineLimits, endTheSocketOfAMachineThatReadsNothing)
{
    Gateway gateway([](Settings& settings) {
        withMetrics(settings);
        settings.pingPeriod = 400ms; // A heartbeat must come in each.
        settings.limits.machineStall = 800ms;
    });
    LinkedMachine const linked = gateway.link();
    MachineThread thread;
    FakeMachine machine(thread, gateway.port(), linked.token, {.reads = false});
    ASSERT_EQ(machine.status(), 101);
    std::string const body =
        R"({"method":"clipboard.set","params":{"text":")" + std::string(40_MiB, 'x') + "\"}}";
    std::thread caller([&] {
        EXPECT_EQ(
            gateway.platform("POST", "/v1/connections/" + linked.connectionId + "/commands", body).status,
            503);
    });

    EXPECT_TRUE(becomes([&] {
        machine.heartbeat(); // It is alive, and only does not read.
        return refused(gateway, "machine_stall") == 1;
    }));

    caller.join();
    EXPECT_TRUE(becomes([&] { return scraped(gateway, "zelvo_machines_connected") == 0; }));
}

} // namespace
} // namespace zelvo::service
