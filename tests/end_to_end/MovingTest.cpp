#include "end_to_end/EndToEnd.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;

std::string contentOf(fs::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The agent on a stick, which the desktop mounts in a temporary folder.
class Moving : public EndToEnd {
protected:
    void TearDown() override { endInstalled(); }

    /// The process that runs a program file; 0 if there is none.
    static pid_t runningFrom(fs::path const& program)
    {
        for (fs::directory_entry const& entry : fs::directory_iterator("/proc")) {
            std::error_code ignored;
            if (fs::read_symlink(entry.path() / "exe", ignored) == program)
                return std::stoi(entry.path().filename());
        }
        return 0;
    }
    void endInstalled()
    {
        if (pid_t const pid = runningFrom(installed)) {
            ::kill(pid, SIGTERM);
            EXPECT_TRUE(waitFor([&] { return runningFrom(installed) == 0; }));
        }
    }
    void waitForQuestion()
    {
        auto const panel = desktop.waitForWindow({.title = "Zelvo"});
        require("the focus of the question", [&] { return desktop.activeWindow() == panel; });
    }
    /// A yes counts only after a moment without keys, so it may take several presses.
    void answer(std::string const& key)
    {
        waitForQuestion();
        for (int tries = 0; tries < 5 && isOpen("Zelvo"); ++tries) {
            press(key);
            waitFor([&] { return !isOpen("Zelvo"); }, 1200ms);
        }
        EXPECT_FALSE(isOpen("Zelvo"));
    }
    pid_t waitForInstalled()
    {
        pid_t pid = 0;
        EXPECT_TRUE(waitFor([&] { return (pid = runningFrom(installed)) != 0; }, 20s));
        return pid;
    }

    AgentProgram onStick{desktop, gateway.port(), desktop.home() / "stick"};
    fs::path installed = desktop.dataHome() / "zelvo-agent" / "zelvo-agent";
};

TEST_F(Moving, installsTheProgramAndStartsItFromThere)
{
    onStick.start();
    answer("Return");

    EXPECT_EQ(desktop.processes().waitForEnd(onStick.pid(), 15), 0) << onStick.output();
    pid_t const pid = waitForInstalled();
    ASSERT_NE(pid, 0);
    EXPECT_EQ(contentOf(installed), contentOf(onStick.file()));
    EXPECT_EQ(contentOf(installed.parent_path() / "Info.json"),
              contentOf(onStick.file().parent_path() / "Info.json"));
    std::string const environment = contentOf("/proc/" + std::to_string(pid) + "/environ");
    EXPECT_NE(environment.find("DISPLAY=" + desktop.display()), std::string::npos);
    // It is the one that further starts hand over to, and asks nothing where it is now.
    onStick.waitUntilItRuns();
    EXPECT_FALSE(waitFor([&] { return isOpen("Zelvo"); }, 1s));
    EXPECT_EQ(runningFrom(installed), pid);
}

TEST_F(Moving, makesTheInstalledProgramTheOneForLinks)
{
    onStick.start();
    answer("Return");
    ASSERT_NE(waitForInstalled(), 0);
    onStick.waitUntilItRuns();

    EXPECT_NE(desktop.run({"gio", "mime", "x-scheme-handler/zelvo"}).find("dev.zelvo.agent.desktop"),
              std::string::npos);
    std::string const autostart = contentOf(desktop.configHome() / "autostart" / "dev.zelvo.agent.desktop");
    EXPECT_NE(autostart.find("Exec=\"" + installed.string() + "\"\n"), std::string::npos);
    desktop.run({"gio", "open", gateway.newLink({"screen"})});
    waitForConsent();
}

TEST_F(Moving, staysWhereItIsWhenThePersonDeclines)
{
    onStick.start();
    answer("Escape");

    onStick.waitUntilItRuns();
    EXPECT_TRUE(onStick.isRunning());
    EXPECT_FALSE(fs::exists(installed));
    EXPECT_FALSE(fs::exists(desktop.configHome() / "autostart"));
    EXPECT_EQ(onStick.end(SIGTERM), 0);
}

TEST_F(Moving, opensTheInstalledCopyOfTheSameVersion)
{
    fs::create_directories(installed.parent_path());
    fs::copy_file(onStick.file(), installed);
    fs::copy_file(onStick.file().parent_path() / "Info.json", installed.parent_path() / "Info.json");
    auto const before = fs::last_write_time(installed);
    onStick.start();
    answer("Return");

    EXPECT_EQ(desktop.processes().waitForEnd(onStick.pid(), 15), 0) << onStick.output();
    EXPECT_NE(waitForInstalled(), 0);
    EXPECT_EQ(fs::last_write_time(installed), before);
    EXPECT_FALSE(fs::exists(desktop.dataHome() / "Trash"));
}

TEST_F(Moving, saysThatItFailedAndGoesOn)
{
    std::ofstream(desktop.dataHome() / "zelvo-agent") << "a file where the folder belongs";
    onStick.start();
    answer("Return");

    EXPECT_TRUE(waitFor([&] {
        auto const lines = onStick.activity();
        return !lines.empty() && lines.front() == "Zelvo could not be installed and runs from where it is";
    }));
    EXPECT_TRUE(onStick.isRunning());
    EXPECT_EQ(onStick.end(SIGTERM), 0);
}

} // namespace
} // namespace zelvo::test
