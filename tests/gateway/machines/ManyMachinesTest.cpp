#include "gateway/support/FakeMachine.h"
#include "gateway/support/Gateway.h"

#include <gtest/gtest.h>

namespace zelvo::service {
namespace {

TEST(ManyMachines, areServedByOneGateway)
{
    constexpr int count = 100;
    Gateway gateway([](Settings& settings) { settings.pingPeriod = std::chrono::milliseconds(500); });
    MachineThread thread;
    std::vector<LinkedMachine> linked;
    std::vector<std::unique_ptr<FakeMachine>> machines;
    for (int i = 0; i < count; ++i) {
        linked.push_back(gateway.link());
        machines.push_back(std::make_unique<FakeMachine>(thread, gateway.port(), linked.back().token));
        machines.back()->onFrame([i](json::object const&) { return resultOf(i); });
    }
    for (auto const& machine : machines)
        ASSERT_EQ(machine->status(), 101);

    for (int round = 0; round < 3; ++round)
        for (auto const& machine : machines)
            machine->heartbeat("box", round % 2 == 0);
    std::atomic<int> right = 0;
    std::vector<std::thread> callers;
    for (int caller = 0; caller < 4; ++caller)
        callers.emplace_back([&, caller] {
            for (int i = caller; i < count; i += 4) {
                Answer const answer =
                    gateway.command(linked[static_cast<std::size_t>(i)].connectionId, "display.info");
                right += answer.body == R"({"result":)" + std::to_string(i) + "}";
            }
        });
    for (std::thread& caller : callers)
        caller.join();

    EXPECT_EQ(right, count);
    EXPECT_TRUE(becomes([&] {
        int online = 0;
        json::value const list = gateway.platform("GET", "/v1/connections").json();
        for (json::value const& connection : list.at("data").as_array()) {
            json::value const& status = connection.at("machine");
            online += status.at("online").as_bool() && status.at("paused").as_bool();
        }
        return online == count;
    }));
    EXPECT_TRUE(becomes([&] { return machines.front()->pings() >= 2 && machines.back()->pings() >= 2; }));
}

} // namespace
} // namespace zelvo::service
