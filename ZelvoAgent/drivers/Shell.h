#pragma once

#include "base/Task.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace zelvo {

struct ShellRunResult {
    std::int32_t exitCode = 0; ///< the shell's exit code, or the number of the signal that ended it
    std::string standardOutput;
    std::string standardError;
    std::int64_t durationMs = 0; ///< from just before the launch until shell and outputs have ended
    bool truncated = false;      ///< at least one output reached its limit
    bool timedOut = false;       ///< the command was still running at its timeout
    bool operator==(ShellRunResult const&) const = default;
};

/// Runs command lines in the login shell.
/// Thread: any; resumes the caller on the caller's executor.
/// Made by: drivers/ShellRunner, tests/fakes/FakeShell.
class Shell {
public:
    virtual ~Shell() = default;
    /// cwd        the working directory; if absent, this program's
    /// timeoutMs  any number; a negative one expires at once
    /// env        added to this program's environment; replaces variables of the same name
    /// Throws     AgentError::machineBusy, LaunchFailure; not for a command that fails or is terminated
    virtual Task<ShellRunResult> run(std::string command,
                                     std::optional<std::string> cwd,
                                     std::int64_t timeoutMs,
                                     std::optional<std::map<std::string, std::string>> env) = 0;
};

} // namespace zelvo
