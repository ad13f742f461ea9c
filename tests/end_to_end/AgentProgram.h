#pragma once

#include "desktop/harness/PrivateSession.h"
#include "wire/Json.h"

#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::test {

/// The built agent, installed on a private desktop. Thread: the test's.
class AgentProgram {
public:
    /// port    of the gateway on this machine
    /// folder  of the program; by default one from which it asks nothing about its place
    AgentProgram(PrivateSession& desktop, std::uint16_t port, std::filesystem::path const& folder = {});

    /// Where it is installed by default, before it is.
    static std::filesystem::path placeOn(PrivateSession const& desktop);

    enum class Scheme { plain, tls };
    /// Changes the gateway's address in the agent's settings.
    void pointTo(std::uint16_t port, Scheme scheme = Scheme::plain);
    /// Stores a token and the unattended mode for the agent.
    void makeUnattended(std::string const& token);

    /// extra: joins its environment
    void start(std::vector<std::string> arguments = {}, Environment extra = {});
    /// Waits until it is the one that further starts hand over to; needs a session bus.
    void waitUntilItRuns();
    /// Replaces the program's file like an update, while it runs.
    void update();
    /// Starts the program again beside the running one; returns its exit code.
    int startAgain(std::vector<std::string> arguments);
    /// The same without waiting for its end; returns the process.
    pid_t startBeside(std::vector<std::string> arguments);
    /// Kills it, like a crash.
    void kill();
    /// Sends a signal and waits for the end, at most ten seconds; returns the exit code.
    int end(int signal);
    bool isRunning();
    pid_t pid() const { return process; }
    std::string output() const { return desktop.processes().output(process); }

    /// Stores a setting before the start.
    void store(std::string const& key, json::value const& value);
    /// A stored setting; null if there is none.
    json::value setting(std::string const& key) const;
    /// The lines of the activity log, newest first.
    std::vector<std::string> activity() const;
    std::filesystem::path tokenFile() const;
    std::filesystem::path const& file() const { return program; }

private:
    std::filesystem::path defaults() const { return desktop.configHome() / "dev.zelvo.agent" / "defaults"; }

    PrivateSession& desktop;
    std::filesystem::path program;
    pid_t process = 0;
};

} // namespace zelvo::test
