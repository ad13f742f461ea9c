#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/EndToEnd.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>

namespace zelvo::test {
namespace {

using Clock = std::chrono::steady_clock;

class Life : public EndToEnd {
protected:
    bool logs(std::string const& line, int times = 1)
    {
        return waitFor(
            [&] {
                auto const lines = agent.activity();
                return std::ranges::count(lines, line) >= times;
            },
            20s);
    }
    // The child processes of the agent.
    std::vector<std::string> childrenOfAgent()
    {
        std::vector<std::string> found;
        for (auto const& task :
             std::filesystem::directory_iterator("/proc/" + std::to_string(agent.pid()) + "/task")) {
            std::ifstream stream(task.path() / "children");
            for (std::string pid; stream >> pid;)
                found.push_back(pid);
        }
        return found;
    }
};

class LifeEnd : public Life, public testing::WithParamInterface<int> {};

TEST_P(LifeEnd, takesTwoSecondsAndLeavesNothing)
{
    std::string const connection = startUnattended();
    auto const children = childrenOfAgent();
    auto const before = Clock::now();

    EXPECT_EQ(agent.end(GetParam()), 0) << agent.output();

    auto const taken = Clock::now() - before;
    EXPECT_GE(taken, 2s);
    EXPECT_LT(taken, 3500ms);
    EXPECT_EQ(agent.output(), "");
    for (std::string const& child : children)
        EXPECT_FALSE(std::filesystem::exists("/proc/" + child)) << child;
    EXPECT_FALSE(gateway.isOnline(connection));
}

INSTANTIATE_TEST_SUITE_P(Signals, LifeEnd, testing::Values(SIGTERM, SIGINT, SIGHUP));

TEST_F(Life, saysGoodbyeAtOnceAndNotAfterTheTwoSeconds)
{
    std::string const connection = startUnattended();
    ::kill(agent.pid(), SIGTERM);

    EXPECT_TRUE(waitFor([&] { return !gateway.isOnline(connection); }, 1s));
    EXPECT_TRUE(agent.isRunning());
}

TEST_F(Life, goesOnAfterTheGatewayWasKilled)
{
    std::string const connection = startUnattended();
    EXPECT_TRUE(logs("Connected to the server"));
    gateway.kill();
    EXPECT_TRUE(logs("Connection to the server lost"));

    gateway.restart({});

    EXPECT_TRUE(gateway.comesOnline(connection));
    EXPECT_TRUE(logs("Connected to the server", 2));
}

TEST_F(Life, stopsTryingWithATokenThatIsNotKnown_401)
{
    agent.makeUnattended("a token of another gateway");
    agent.start();

    EXPECT_TRUE(logs("The server no longer knows this computer"));
    EXPECT_TRUE(agent.isRunning());
}

TEST_F(Life, stopsTryingWhenTheGatewayForgetsTheMachine_4401)
{
    startUnattended();

    EXPECT_EQ(gateway.ask("DELETE", "/v1/machines/" + machine).status, 200);

    EXPECT_TRUE(logs("The server no longer knows this computer"));
    EXPECT_TRUE(agent.isRunning());
}

TEST_F(Life, stopsTryingWhenTheGatewayNeedsANewerVersion_426)
{
    std::string const connection = startUnattended();

    gateway.restart({"--minimum-app-version", "9.0.0"});

    EXPECT_TRUE(logs("The server asks for a newer version of Zelvo"));
    // Not even when it could: only the user or an update starts again.
    gateway.restart({});
    EXPECT_FALSE(gateway.comesOnline(connection, 3s));
}

TEST_F(Life, worksWithoutASessionBus)
{
    PrivateDesktop plain({.width = 800, .height = 600, .sessionBus = false});
    GatewayProgram server(plain);
    AgentProgram program(plain, server.port());
    auto const made = server.provision();
    program.makeUnattended(made.token);

    program.start();

    EXPECT_TRUE(server.comesOnline(made.connection)) << program.output();
    EXPECT_EQ(program.startAgain({}), 0);
    EXPECT_TRUE(program.isRunning());
    EXPECT_EQ(program.end(SIGTERM), 0);
}

TEST_F(Life, saysThatItNeedsAGraphicalSession)
{
    pid_t const pid = desktop.start({"env", "-u", "DISPLAY", agent.file().string()});

    EXPECT_EQ(desktop.processes().waitForEnd(pid, 10), 1);
    EXPECT_NE(desktop.processes().output(pid).find("graphical session"), std::string::npos);
}

} // namespace
} // namespace zelvo::test
