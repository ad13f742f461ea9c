#include "desktop/harness/PrivateDesktop.h"
#include "end_to_end/HttpCall.h"
#include "end_to_end/TaskScript.h"
#include "end_to_end/TrialRun.h"
#include "gateway/mcp/transport/StdioProgram.h"
#include "wire/Json.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;

/// Tasks of an MCP client that the printed configuration was pasted into: it starts the program with the
/// arguments, and nothing else.
class PastedConfiguration final : public TaskScript {
public:
    explicit PastedConfiguration(json::object const& server) : program(commandLineOf(server), "") {}

private:
    static std::vector<std::string> commandLineOf(json::object const& server)
    {
        std::vector<std::string> all{std::string(server.at("command").as_string())};
        for (json::value const& argument : server.at("args").as_array())
            all.emplace_back(argument.as_string());
        return all;
    }
    json::object ask(std::string const&, json::object const& request) override
    {
        program.write(writeJson(request) + "\n");
        for (int tries = 0; tries < 6; ++tries)
            if (auto const answer = parseJson(program.readLine()))
                return answer->as_object();
        throw std::runtime_error("no answer: " + program.errors());
    }

    service::StdioProgram program;
};

// The processes of `make run`, with and without a graphical session.
class RunScript : public testing::Test {
protected:
    // A JSON text of its output below a line.
    json::object jsonAfter(std::string const& heading)
    {
        std::string const text = trial.said();
        auto const begin = text.find('{', text.find(heading));
        return parseJson(text.substr(begin, text.find("\n}\n", begin) + 3 - begin)).value().as_object();
    }
    void expectTheTextTaskToRunByThePrintedConfiguration()
    {
        PastedConfiguration client(
            jsonAfter("Let an MCP client use it").at("mcpServers").at("zelvo").as_object());
        // The command that typed into the editor was another agent's, which loses control after 30 idle
        // seconds.
        require(
            "control of the machine", [&] { return !client.call("app_open", {{"app", "mousepad"}}).isError; },
            60s);
        fs::path const file = desktop.home() / "list.txt";
        EXPECT_NO_THROW(client.writeText("Bread, butter and eggs", file)) << client.transcript;
        EXPECT_EQ(TaskScript::contentOf(file), "Bread, butter and eggs") << client.transcript;
    }
    std::string apiKey() const
    {
        std::ifstream stream(trial.keptFolder() / "gateway" / "api-key");
        std::string key;
        stream >> key;
        return key;
    }
    // The status of exchanging a console link's code for a session, as its page does.
    static long exchanged(std::string const& link)
    {
        std::string const origin = link.substr(0, link.find("/open#"));
        std::string const code = link.substr(link.find('#') + 1);
        return httpCall("POST", origin + "/console/session",
                        {"Content-Type: application/json", "Origin: " + origin},
                        R"({"code":")" + code + "\"}")
            .status;
    }
    void endByCtrlC()
    {
        ASSERT_GT(trial.running(), 2);
        EXPECT_EQ(trial.end(), 0) << trial.said();
        EXPECT_EQ(trial.running(), 0);
    }

    PrivateDesktop desktop{{.width = 1280, .height = 1024}};
    TrialRun trial{desktop, desktop.home() / "build" / "run"};
};

TEST_F(RunScript, worksOnAVirtualDesktopWithoutAGraphicalSession)
{
    trial.start({"-u", "DISPLAY"});
    ASSERT_TRUE(trial.says("Ctrl-C ends all of it")) << trial.said();
    EXPECT_NE(trial.said().find("There is no graphical session here"), std::string::npos);

    trial.runLineAfter("Take a screenshot", desktop.home());
    std::ifstream picture(desktop.home() / "screen.jpg", std::ios::binary);
    std::string const begin{std::istreambuf_iterator<char>(picture), {}};
    EXPECT_EQ(begin.substr(0, 3), "\xff\xd8\xff");
    EXPECT_NE(trial.runLineAfter("Type into the editor").find("\"ok\":true"), std::string::npos);
    require("the editor's menu in the list", [&] {
        return trial.runLineAfter("List what is in the window").find("menuitem \"File\"") !=
               std::string::npos;
    });
    std::string link = trial.lineAfter("See it and use it");
    link = link.substr(link.find("http"));
    EXPECT_EQ(httpCall("GET", link, {}, "").status, 200);
    EXPECT_EQ(exchanged(link), 201);
    EXPECT_EQ(exchanged(link), 401); // A link works once.
    expectTheTextTaskToRunByThePrintedConfiguration();
    EXPECT_EQ(trial.said().find(apiKey()), std::string::npos);

    endByCtrlC();
}

TEST_F(RunScript, asksOnThePersonsDesktopAndKeepsTheLink)
{
    trial.start();
    auto const window = desktop.waitForWindow({.title = "Connection request"}, 60s);
    require("the focus", [&] { return desktop.activeWindow() == window; });
    std::this_thread::sleep_for(1s); // A yes counts only after a moment without keys.
    desktop.run({"xdotool", "key", "Return"});
    ASSERT_TRUE(trial.says("Ctrl-C ends all of it")) << trial.said();
    EXPECT_NE(trial.runLineAfter("Type where the cursor is").find("\"ok\":true"), std::string::npos);
    EXPECT_FALSE(fs::exists(desktop.configHome() / "dev.zelvo.agent"));
    EXPECT_FALSE(fs::exists(desktop.dataHome() / "dev.zelvo.agent"));
    endByCtrlC();

    trial.start();
    ASSERT_TRUE(trial.says("Ctrl-C ends all of it")) << trial.said();
    EXPECT_FALSE(desktop.findWindow({.title = "Connection request"}));
    endByCtrlC();
}

TEST_F(RunScript, worksOnAVirtualDesktopIfTheCompositorCannotBeReached)
{
    trial.start({"WAYLAND_DISPLAY=wayland-0"});

    ASSERT_TRUE(trial.says("does not answer"));
    ASSERT_TRUE(trial.says("Ctrl-C ends all of it")) << trial.said();
    EXPECT_NE(trial.said().find("The agent is at work on the virtual desktop"), std::string::npos);
    endByCtrlC();
}

} // namespace
} // namespace zelvo::test
