#pragma once

#include "base/Task.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace zelvo {

struct ShellRunResult {
    std::int32_t exitCode = 0; ///< the shell's own, or the number of the signal that ended it
    std::string standardOutput;
    std::string standardError;
    std::int64_t durationMs = 0; ///< from just before the launch until shell and outputs have ended
    bool truncated = false;      ///< at least one of the outputs reached its limit
    bool timedOut = false;       ///< the time ran out while the command was running
    bool operator==(ShellRunResult const&) const = default;
};

/// Runs command lines in the login shell.
/// Thread: any; resumes the caller on its own executor. Made by: drivers/ShellRunner, tests/fakes/FakeShell.
class Shell {
public:
    virtual ~Shell() = default;
    /// cwd        the folder that it runs in; without one, this program's
    /// timeoutMs  any number; one below zero is over at once
    /// env        joined to this program's environment, over what is there of the same name
    /// Throws     AgentError::machineBusy, LaunchFailure. A command that fails or is ended is no failure.
    virtual Task<ShellRunResult> run(std::string command,
                                     std::optional<std::string> cwd,
                                     std::int64_t timeoutMs,
                                     std::optional<std::map<std::string, std::string>> env) = 0;
};

} // namespace zelvo
