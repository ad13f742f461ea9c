#pragma once

#include "desktop/harness/PrivateSession.h"

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::test {

/// scripts/run with the built programs, started by a person on a private desktop. Thread: the test's.
class TrialRun {
public:
    /// kept  the folder for all that it keeps; ends with "build/run", where the program asks nothing about
    /// its place
    TrialRun(PrivateSession& desktop, std::filesystem::path kept);

    /// Starts it, again after its end.
    /// how  arguments of env: "-u", "DISPLAY", "NAME=value"
    void start(std::vector<std::string> const& how = {});
    /// Waits until it has printed the text.
    bool says(std::string const& text);
    std::string said() const { return desktop.processes().output(script); }
    /// The line of its output below another line.
    std::string lineAfter(std::string const& heading) const;
    /// Runs that line, and returns what it prints.
    std::string runLineAfter(std::string const& heading, std::filesystem::path const& folder = "/") const;
    /// The number of processes that it started, recognised by an inherited variable.
    int running() const;
    /// Sends it a signal; returns its exit code.
    int end(int signal = SIGINT);

    std::filesystem::path const& keptFolder() const { return kept; }
    std::filesystem::path agent() const { return kept / "bin" / "zelvo-agent"; }

private:
    PrivateSession& desktop;
    std::filesystem::path const kept;
    pid_t script = 0;
};

} // namespace zelvo::test
