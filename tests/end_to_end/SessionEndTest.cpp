#include "end_to_end/RecordingFixture.h"

#include <chrono>
#include <csignal>

namespace zelvo::test {
namespace {

using Clock = std::chrono::steady_clock;

/// The end of a desktop session while the agent records.
class SessionEnd : public Recording {
protected:
    void startRecording(Environment extra)
    {
        connection = startUnattended(std::move(extra));
        painter.open({.x = 100, .y = 100, .width = 300, .height = 200, .color = 0xf0e080, .title = "shown"});
        record();
    }
    void record()
    {
        EXPECT_EQ(codeOf(perform({clickAt(900, 700)})), "ok");
        letItRun();
        painter.paintRoot(ground);
        letItRun();
    }
    /// A closed recording; only then its index is at the front.
    static bool isWhole(std::filesystem::path const& file)
    {
        std::string const bytes = contentOf(file);
        return bytes.find("moov") < bytes.find("mdat") && bytes.find("moof") == std::string::npos;
    }
    void expectPlayable()
    {
        ASSERT_EQ(recordings().size(), 1u);
        EXPECT_TRUE(isWhole(recordings().front()));
        PlayedRecording const recording(desktop, recordings().front());
        EXPECT_EQ(recording.facts.codec, "h264");
        EXPECT_GE(recording.facts.duration, 0.9);
        ASSERT_FALSE(recording.frames.empty());
        EXPECT_GT(pixelsLike(recording.frames.back(), 0xf0e080), 10000);
    }
};

/// The desktop's session manager, which clients reach by XSMP.
class ManagedSession : public SessionEnd {
protected:
    void SetUp() override
    {
        Recording::SetUp();
        manager = desktop.start({"/usr/bin/python3", ZELVO_SESSION_MANAGER});
        require("the session manager", [&] { return said("listens "); });
        std::string const output = desktop.processes().output(manager);
        std::size_t const from = output.find("listens ") + 8;
        address = output.substr(from, output.find('\n', from) - from);
    }
    /// How often the manager has printed this line.
    std::size_t times(std::string const& line)
    {
        std::string const output = desktop.processes().output(manager);
        std::size_t count = 0;
        for (std::size_t at = output.find(line); at != std::string::npos; at = output.find(line, at + 1))
            ++count;
        return count;
    }
    bool said(std::string const& line) { return times(line) > 0; }
    void startManaged()
    {
        startRecording({{"SESSION_MANAGER", address}});
        require("the registration", [&] { return said("registered"); });
    }
    void saveForTheEnd()
    {
        std::size_t const before = times("saved");
        ::kill(manager, SIGUSR1);
        require("the agent's answer", [&] { return times("saved") > before; });
    }

    pid_t manager = 0;
    std::string address;
};

TEST_F(ManagedSession, waitsUntilTheRecordingIsClosed)
{
    startManaged();
    ASSERT_EQ(recordings().size(), 1u);
    ASSERT_FALSE(isWhole(recordings().front()));

    saveForTheEnd();

    EXPECT_TRUE(isWhole(recordings().front())); // Before the session manager continues.
    EXPECT_TRUE(agent.isRunning());
    auto const before = Clock::now();
    ::kill(manager, SIGUSR2);
    EXPECT_EQ(desktop.processes().waitForEnd(agent.pid(), 10), 0) << agent.output();
    EXPECT_GE(Clock::now() - before, 2s);
    EXPECT_FALSE(gateway.isOnline(connection));
    expectPlayable();
}

TEST_F(ManagedSession, closesARecordingThatBeganSinceItWasAsked)
{
    startManaged();
    saveForTheEnd();
    record();
    ASSERT_EQ(recordings().size(), 2u);

    ::kill(manager, SIGUSR2);

    EXPECT_EQ(desktop.processes().waitForEnd(agent.pid(), 10), 0) << agent.output();
    for (auto const& file : recordings())
        EXPECT_TRUE(isWhole(file)) << file;
}

TEST_F(ManagedSession, goesOnWhenItsEndIsCalledOff)
{
    startManaged();
    saveForTheEnd();
    ::kill(manager, SIGHUP);

    record();
    EXPECT_EQ(recordings().size(), 2u);
    EXPECT_TRUE(gateway.isOnline(connection));
    EXPECT_EQ(agent.end(SIGTERM), 0) << agent.output();
}

/// A machine whose logind is a mock.
class LoggedInSession : public SessionEnd {
protected:
    void SetUp() override
    {
        Recording::SetUp();
        std::string const socket = "unix:path=" + (desktop.runtimeFolder() / "system").string();
        system = {{"DBUS_SYSTEM_BUS_ADDRESS", socket}};
        desktop.start({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address=" + socket});
        require("the system bus",
                [&] { return std::filesystem::exists(desktop.runtimeFolder() / "system"); });
        desktop.start({"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind"}, system);
        require("logind", [&] { return ask("ListInhibitors") == 0; });
    }
    int ask(std::string const& member, std::vector<std::string> arguments = {})
    {
        arguments.insert(arguments.begin(),
                         {"busctl", "--system", "call", "org.freedesktop.login1", "/org/freedesktop/login1",
                          "org.freedesktop.login1.Manager", member});
        pid_t const pid = desktop.start(std::move(arguments), system);
        int const code = desktop.processes().waitForEnd(pid, 10);
        answer = desktop.processes().output(pid);
        return code;
    }
    bool isDelayed()
    {
        return ask("ListInhibitors") == 0 && answer.find("\"shutdown\"") != std::string::npos &&
               answer.find("\"delay\"") != std::string::npos;
    }
    void announceShutdown()
    {
        pid_t const pid =
            desktop.start({"busctl", "--system", "call", "org.freedesktop.login1", "/org/freedesktop/login1",
                           "org.freedesktop.DBus.Mock", "EmitSignal", "sssav",
                           "org.freedesktop.login1.Manager", "PrepareForShutdown", "b", "1", "b", "true"},
                          system);
        EXPECT_EQ(desktop.processes().waitForEnd(pid, 10), 0);
    }

    Environment system;
    std::string answer;
};

TEST_F(LoggedInSession, closesTheRecordingBeforeTheMachineShutsDown)
{
    startRecording(system);
    ASSERT_TRUE(waitFor([&] { return isDelayed(); })) << answer;
    ASSERT_EQ(recordings().size(), 1u);

    announceShutdown();

    EXPECT_EQ(desktop.processes().waitForEnd(agent.pid(), 10), 0) << agent.output();
    EXPECT_TRUE(waitFor([&] { return !isDelayed(); })) << answer;
    expectPlayable();
}

} // namespace
} // namespace zelvo::test
