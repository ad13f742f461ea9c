#include "end_to_end/ConfirmingFixture.h"

#include <fstream>
#include <tuple>

namespace zelvo::test {
namespace {

/// Clients of the Model Context Protocol that others wrote, by their versions and transports.
class SdkDesktop : public Confirming,
                   public testing::WithParamInterface<std::tuple<char const*, char const*>> {
protected:
    void SetUp() override
    {
        std::ifstream const unreachable(ZELVO_SDK_FOLDER "/unreachable.txt");
        // No package came, since npm's registry could not be reached; any other failure to install them is
        // one.
        if (unreachable)
            GTEST_SKIP() << unreachable.rdbuf();
        Confirming::SetUp();
    }
    void startClient()
    {
        std::string const header = gateway.authorization();
        std::string const url = "http://127.0.0.1:" + std::to_string(gateway.port()) + "/mcp";
        client = desktop.start(
            {"node", ZELVO_SDK_FOLDER "/desktop.mjs", std::get<0>(GetParam()), std::get<1>(GetParam())},
            {{"ZELVO_MCP_URL", url},
             {"ZELVO_GATEWAY", ZELVO_GATEWAY},
             {"ZELVO_API_KEY", header.substr(header.rfind(' ') + 1)}});
    }
    bool hasSaid(std::string const& line)
    {
        return desktop.processes().output(client).find(line + "\n") != std::string::npos;
    }
    /// Waits for a line of the client. Throws, with all that it said, if it ends before.
    void waitForClient(std::string const& line)
    {
        waitFor([&] { return hasSaid(line) || !desktop.processes().isRunning(client); }, 60s);
        if (!hasSaid(line))
            throw std::runtime_error("the client did not say \"" + line + "\":\n" +
                                     desktop.processes().output(client));
    }

    pid_t client = 0;
};

TEST_P(SdkDesktop, isOperatedWithAPersonAtIt)
{
    connection = linkByReturn({"screen", "input"});
    openLetter(Toolkit::gtk3);
    treeWith(connection, "button", "Send");
    startClient();

    waitForClient("clicked");
    EXPECT_TRUE(says("pressed Print"));

    waitForClient("open a dialog");
    pid_t const dialog = desktop.start({"zenity", "--info", "--text=News", "--ok-label=Understood"});

    waitForClient("close the dialog");
    desktop.processes().end(dialog, SIGTERM);

    waitForClient("waiting for the person");
    answerPanel("Return");
    waitForClient("sent");
    EXPECT_TRUE(says("pressed Send"));

    waitForClient("restart the application");
    desktop.processes().end(application, SIGTERM);
    waitForClient("it has gone");
    openLetter(Toolkit::gtk3);
    waitForClient("clicked again");
    EXPECT_TRUE(says("pressed Print"));

    waitForClient("hide the application");
    json::object const front = tree(connection);
    agent.store("dev.zelvo.hiddenApps", json::array{front.at("app").at("bundleId")});
    waitForClient("done");
    EXPECT_EQ(desktop.processes().waitForEnd(client, 10), 0);
}

INSTANTIATE_TEST_SUITE_P(Clients,
                         SdkDesktop,
                         testing::Values(std::tuple("sdk", "http"),
                                         std::tuple("sdk", "stdio"),
                                         std::tuple("client-legacy", "http"),
                                         std::tuple("client-modern", "http"),
                                         std::tuple("client-modern", "stdio")),
                         [](auto const& one) {
                             std::string name =
                                 std::string(std::get<0>(one.param)) + "_" + std::get<1>(one.param);
                             std::ranges::replace(name, '-', '_');
                             return name;
                         });

} // namespace
} // namespace zelvo::test
