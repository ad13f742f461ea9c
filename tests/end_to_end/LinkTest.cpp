#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/EndToEnd.h"

#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <thread>

namespace zelvo::test {
namespace {

bool contains(std::vector<std::string> const& lines, std::string const& line)
{
    return std::ranges::find(lines, line) != lines.end();
}

class Link : public EndToEnd {
protected:
    static inline std::vector<std::string> const most = {"screen", "input", "shell"};
};

TEST_F(Link, isMadeInTheConsentWindowWithTheReturnKey)
{
    std::string const connection = linkByReturn(most);

    EXPECT_TRUE(waitFor([&] { return !isOpen("Connection request"); }));
    ASSERT_TRUE(waitFor([&] { return agent.setting("zelvo.connections").is_array(); }));
    json::value const stored = agent.setting("zelvo.connections").at(0);
    EXPECT_EQ(stored.at("id").as_string(), connection);
    EXPECT_EQ(writeJson(stored.at("scopes")), R"(["screen","input"])");
    EXPECT_TRUE(waitFor([&] { return contains(agent.activity(), "Connection allowed"); }));

    EXPECT_EQ(gateway.command(connection, "screenshot").status, 200);
    EXPECT_EQ(gateway.command(connection, "cursor.position").status, 200);
    auto const refused = gateway.command(connection, "shell.run", {{"command", "true"}});
    EXPECT_NE(refused.status, 200);
}

TEST_F(Link, keepsTheTokenWhereOnlyThePersonCanReadIt)
{
    linkByReturn(most);

    struct stat status{};
    ASSERT_EQ(::stat(agent.tokenFile().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    ASSERT_EQ(::stat(agent.tokenFile().parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(Link, isNotMadeWhenThePersonDenies)
{
    agent.start({gateway.newLink({"screen"})});
    waitForConsent();

    press("Escape");

    EXPECT_TRUE(waitFor([&] { return !isOpen("Connection request"); }));
    EXPECT_TRUE(gateway.connections().empty());
}

TEST_F(Link, isBegunByASecondStartWhichHandsOverTheUrlAndEnds)
{
    agent.start();
    agent.waitUntilItRuns();

    EXPECT_EQ(agent.startAgain({gateway.newLink({"screen"})}), 0);

    waitForConsent();
    allowConsent();

    EXPECT_TRUE(waitFor([&] { return gateway.connections().size() == 1; }));
    EXPECT_TRUE(agent.isRunning());
}

TEST_F(Link, isNotLostWhileTheProgramEnds)
{
    agent.start();
    agent.waitUntilItRuns();
    ::kill(agent.pid(), SIGTERM);

    pid_t const second = agent.startBeside({gateway.newLink({"screen"})});

    waitForConsent();
    EXPECT_FALSE(agent.isRunning()); // Two never run at the same time.
    EXPECT_TRUE(desktop.processes().isRunning(second));
}

TEST_F(Link, isNotLostWhileTheProgramEndsWithoutASessionBus)
{
    PrivateDesktop plain({.width = 1280, .height = 1024, .sessionBus = false});
    GatewayProgram server(plain);
    AgentProgram program(plain, server.port());
    program.start();
    // Not by another start: that one could be the first to take the lock.
    require("the socket", [&] { return exists(plain.runtimeFolder() / "dev.zelvo.agent.socket"); });
    ASSERT_EQ(program.startAgain({}), 0);
    plain.waitForWindow({.title = "Zelvo", .className = "zelvo-agent"});
    ::kill(program.pid(), SIGTERM);

    pid_t const second = program.startBeside({server.newLink({"screen"})});

    plain.waitForWindow({.title = "Connection request"});
    EXPECT_FALSE(program.isRunning());
    EXPECT_TRUE(plain.processes().isRunning(second));
}

std::string commandLineOf(pid_t process)
{
    std::ifstream stream("/proc/" + std::to_string(process) + "/cmdline", std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST_F(Link, isNotInTheProcessList)
{
    agent.start({gateway.newLink({"screen"})});
    waitForConsent();

    std::string const line = commandLineOf(agent.pid());

    EXPECT_NE(line.find("zelvo-agent"), std::string::npos);
    EXPECT_EQ(line.find("token"), std::string::npos) << line;
}

TEST_F(Link, isNotInTheProcessListWhileASecondStartHandsItOver)
{
    agent.start();
    agent.waitUntilItRuns();
    ::kill(agent.pid(), SIGSTOP); // The second start now waits for an answer, for two seconds.

    pid_t const second = agent.startBeside({gateway.newLink({"screen"})});
    bool const isClean = waitFor(
        [&] {
            std::string const line = commandLineOf(second);
            return line.find("zelvo-agent") != std::string::npos && line.find("token") == std::string::npos;
        },
        1500ms);
    bool const isWaiting = desktop.processes().isRunning(second);
    ::kill(agent.pid(), SIGCONT);

    EXPECT_TRUE(isClean) << commandLineOf(second);
    EXPECT_TRUE(isWaiting);
    EXPECT_EQ(desktop.processes().waitForEnd(second, 10), 0);
    waitForConsent();
}

TEST_F(Link, isNotMadeByAPersonWhoTypesOn)
{
    std::vector<std::string> typing = {"xdotool", "key", "--delay", "100"};
    for (int i = 0; i < 30; ++i)
        for (char const* const key : {"a", "space", "Return"})
            typing.emplace_back(key);
    pid_t const typist = desktop.start(typing);

    agent.start({gateway.newLink(most)});
    waitForConsent();
    require("the end of the typing", [&] { return !desktop.processes().isRunning(typist); }, 30s);

    EXPECT_TRUE(gateway.connections().empty());
    EXPECT_TRUE(isOpen("Connection request"));
}

// A page opens a second link while the person is about to answer the first.
TEST_F(Link, anAnswerMeantForTheFirstRequestDoesNotAllowTheSecond)
{
    agent.start({gateway.newLink({"screen"})});
    auto const window = waitForConsent();
    std::this_thread::sleep_for(500ms); // The person reads.
    auto const shape = [&] {
        return desktop.run({"xdotool", "getwindowgeometry", "--shell", std::to_string(window)});
    };
    std::string const before = shape();

    EXPECT_EQ(agent.startAgain({gateway.newLink({"screen", "input", "shell", "files"})}), 0);
    require("the second request", [&] { return shape() != before; });
    press("Return");

    EXPECT_FALSE(waitFor([&] { return !gateway.connections().empty(); }, 1s));
    EXPECT_TRUE(isOpen("Connection request"));
}

TEST_F(Link, aFloodOfLinksBeginsOneRequest)
{
    agent.start();
    agent.waitUntilItRuns();
    std::vector<std::string> links = {gateway.newLink({"screen"})};
    for (int i = 0; i < 200; ++i)
        links.push_back("zelvo://link?token=flood" + std::to_string(i));

    EXPECT_EQ(agent.startAgain(links), 0);
    waitForConsent();
    allowConsent();

    EXPECT_TRUE(waitFor([&] { return gateway.connections().size() == 1; }));
    EXPECT_TRUE(waitFor([&] { return contains(agent.activity(), "Ignored more links that came at once"); }));
}

TEST_F(Link, isHandedOverToTheProgramOfBeforeAnUpdate)
{
    agent.start();
    agent.waitUntilItRuns();
    agent.update();

    EXPECT_EQ(agent.startAgain({gateway.newLink({"screen"})}), 0);

    waitForConsent();
    EXPECT_TRUE(agent.isRunning());
}

TEST_F(Link, aSecondStartWithoutArgumentsComesToTheFront)
{
    agent.start();
    agent.waitUntilItRuns();

    EXPECT_EQ(agent.startAgain({}), 0);

    waitForMainWindow();
    EXPECT_TRUE(agent.isRunning());
    press("Escape");
    EXPECT_TRUE(waitFor([&] { return !isOpen("Zelvo"); }));
}

TEST_F(Link, showsWhatTheGatewaySaysOfAUsedLink)
{
    std::string const link = gateway.newLink({"screen"});
    agent.start({link});
    waitForConsent();
    allowConsent();
    require("the connection", [&] { return gateway.connections().size() == 1; });
    EXPECT_TRUE(waitFor([&] { return !isOpen("Connection request"); }));

    EXPECT_EQ(agent.startAgain({link}), 0);

    waitForConsent();
    EXPECT_EQ(gateway.connections().size(), 1u);
}

TEST_F(Link, isKeptOverARestart)
{
    std::string const connection = linkByReturn(most);
    EXPECT_EQ(agent.end(SIGTERM), 0);
    EXPECT_FALSE(gateway.isOnline(connection));

    agent.start();

    EXPECT_TRUE(gateway.comesOnline(connection));
}

TEST_F(Link, isKeptOverACrash)
{
    std::string const connection = linkByReturn(most);
    ASSERT_TRUE(waitFor([&] { return agent.setting("zelvo.connections").is_array(); }));
    agent.kill();

    agent.start();

    EXPECT_TRUE(gateway.comesOnline(connection));
}

TEST_F(Link, endsForAConnectionThatWasRevoked)
{
    std::string const connection = linkByReturn(most);

    EXPECT_EQ(gateway.ask("DELETE", "/v1/connections/" + connection).status, 200);

    EXPECT_TRUE(waitFor([&] { return agent.setting("zelvo.connections").as_array().empty(); }));
    EXPECT_TRUE(waitFor([&] { return contains(agent.activity(), "Connection removed"); }));
    EXPECT_NE(gateway.command(connection, "screenshot").status, 200);
}

// Only the user may answer the question, not an agent that is already connected.
TEST_F(Link, cannotBeAllowedByAnAgent)
{
    std::string const connection = linkByReturn(most);
    require("the end of the first question", [&] { return !isOpen("Connection request"); });
    EXPECT_EQ(agent.startAgain({gateway.newLink({"screen", "input", "shell", "files"})}), 0);
    waitForConsent();

    json::array const actions{json::object{{"type", "key"}, {"keys", json::array{"return"}}}};
    gateway.command(connection, "actions.perform", {{"actions", actions}});
    json::array const text{json::object{{"type", "type"}, {"text", "\n \n"}}};
    gateway.command(connection, "actions.perform", {{"actions", text}});

    EXPECT_FALSE(waitFor([&] { return gateway.connections().size() > 1; }, 1s));
    EXPECT_TRUE(isOpen("Connection request"));
}

} // namespace
} // namespace zelvo::test
