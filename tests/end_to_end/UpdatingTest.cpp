// The program updates itself from one archive to the next: real archives, signatures, TLS and processes.
#include "end_to_end/OwnWindowsFixture.h"
#include "end_to_end/UpdateServer.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace zelvo::test {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;

class Updating : public OwnWindowsFixture {
protected:
    void TearDown() override
    {
        for (pid_t const pid : running()) {
            ::kill(pid, SIGTERM);
            EXPECT_TRUE(waitFor([&] { return !fs::exists("/proc/" + std::to_string(pid) + "/exe"); }, 10s));
        }
    }
    /// The processes that run the installed program.
    std::vector<pid_t> running() const
    {
        std::vector<pid_t> found;
        for (fs::directory_entry const& entry : fs::directory_iterator("/proc")) {
            std::error_code ignored;
            if (fs::read_symlink(entry.path() / "exe", ignored) == agent.file())
                found.push_back(std::stoi(entry.path().filename()));
        }
        return found;
    }
    void startOld()
    {
        server.prepare(agent, "1.0.0");
        server.publish(agent, "2.0.0");
        connection = startUnattended(server.environment());
        EXPECT_EQ(agent.startAgain({}), 0);
        waitForMainWindow();
    }
    /// By the button of the main window; the update is ready afterwards.
    void checkForUpdates()
    {
        use("Check for updates", "push button");
        named("Install and restart", "push button");
    }
    fs::path standby() const
    {
        return agent.file().parent_path().parent_path() /
               ("." + agent.file().parent_path().filename().string() + ".standby");
    }
    json::object record() const
    {
        std::ifstream stream(desktop.dataHome() / "dev.zelvo.agent" / "updates" / "update.json",
                             std::ios::binary);
        std::string const content{std::istreambuf_iterator<char>(stream), {}};
        return parseJson(content)->as_object();
    }

    std::uintmax_t downloaded() const
    {
        std::uintmax_t bytes = 0;
        for (auto const& entry : fs::directory_iterator(desktop.dataHome() / "dev.zelvo.agent" / "updates"))
            if (entry.path().extension() == ".download")
                bytes = entry.file_size();
        return bytes;
    }

    UpdateServer server{desktop};
};

TEST_F(Updating, byTheWindowsButtonItInstallsAndRestarts)
{
    startOld();
    checkForUpdates();
    pid_t const old = agent.pid();

    use("Install and restart", "push button");

    EXPECT_EQ(desktop.processes().waitForEnd(old, 15), 0) << agent.output();
    EXPECT_EQ(versionBeside(agent.file()), "2.0.0");
    EXPECT_TRUE(waitFor([&] { return !running().empty(); }, 10s));
    EXPECT_TRUE(gateway.comesOnline(connection));
    EXPECT_TRUE(waitFor([&] { return !fs::exists(standby()); }))
        << "the first heartbeat removes the old version";
    EXPECT_THAT(agent.activity(), Contains("Installing version 2.0.0"));
}

TEST_F(Updating, byItsEndItInstallsForTheNextStart)
{
    startOld();
    checkForUpdates();

    EXPECT_EQ(agent.end(SIGTERM), 0);

    EXPECT_EQ(versionBeside(agent.file()), "2.0.0");
    EXPECT_EQ(versionBeside(standby() / "zelvo-agent"), "1.0.0");
    agent.start({}, server.environment());
    EXPECT_TRUE(gateway.comesOnline(connection));
    EXPECT_TRUE(waitFor([&] { return !fs::exists(standby()); }));
}

TEST_F(Updating, whatCannotStartTwiceIsPutBack)
{
    startOld();
    checkForUpdates();
    EXPECT_EQ(agent.end(SIGTERM), 0);
    gateway.kill(); // So that no heartbeat confirms the new version before it is killed.

    for (int starts = 1; starts <= 2; ++starts) {
        agent.start({}, server.environment());
        require("a start that counts", [&] {
            json::object const found = record();
            return found.at("trial").as_object().at("starts").as_int64() == starts;
        });
        agent.kill();
    }
    agent.start({}, server.environment());
    require("the old version", [&] { return versionBeside(agent.file()) == "1.0.0"; });
    require("the old program", [&] { return !running().empty(); });
    agent.waitUntilItRuns();

    EXPECT_EQ(record().at("rejected"), "2.0.0");
    EXPECT_EQ(agent.startAgain({}), 0);
    waitForMainWindow();
    named("Version 2.0.0 did not start", "label");
}

TEST_F(Updating, aDownloadThatBreaksIsContinued)
{
    server.setSlow(true);
    startOld();
    use("Check for updates", "push button");
    require("the download", [&] { return server.requests().find("tar.xz") != std::string::npos; });
    require("some of it", [&] { return downloaded() >= 60'000; });
    EXPECT_EQ(agent.end(SIGTERM), 0);
    server.setSlow(false);

    agent.start({}, server.environment());
    EXPECT_TRUE(gateway.comesOnline(connection));
    EXPECT_EQ(agent.startAgain({}), 0);
    waitForMainWindow();
    checkForUpdates();

    EXPECT_THAT(server.requests(), HasSubstr("bytes="));
}

} // namespace
} // namespace zelvo::test
