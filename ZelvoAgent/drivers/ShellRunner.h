#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "drivers/Shell.h"
#include "platform/ChildProcess.h"

#include <memory>

namespace zelvo {

/// Runs commands with limits on their number, output and time. After its timeout a command's process group
/// gets SIGTERM, and later SIGKILL. The result waits until both outputs are closed, so a background process
/// that keeps an output open counts as part of the command. The signals do not reach a process that has left
/// the group. Cancelling the caller does not end its command.
class ShellRunner final : public Shell {
public:
    struct Limits {
        std::size_t maxOutputBytes =
            1024UL * 1024; ///< for each output; anything after it is read and discarded
        int maxConcurrent = 4;
        Duration sigtermGrace = 5s; ///< from SIGTERM to SIGKILL
    };

    ShellRunner(Contexts contexts, Clock& clock, ChildProcesses& children)
        : ShellRunner(std::move(contexts), clock, children, Limits{})
    {
    }
    ShellRunner(Contexts contexts, Clock& clock, ChildProcesses& children, Limits limits);

    Task<ShellRunResult> run(std::string command,
                             std::optional<std::string> cwd,
                             std::int64_t timeoutMs,
                             std::optional<std::map<std::string, std::string>> env) override;

private:
    struct Command;
    struct Captured;

    Task<ShellRunResult> runOnStrand(ChildLaunch launch, std::int64_t timeoutMs);
    Task<> watch(std::shared_ptr<Command> command, std::int64_t timeoutMs);
    Task<ShellRunResult> collect(std::shared_ptr<Command> command);
    Task<Captured> read(std::shared_ptr<Command> command, ChildStream stream);

    Executor strand;
    Executor workers;
    Clock& clock;
    ChildProcesses& children;
    Limits const limits;
    /// Strand. Shared with the commands, because they may outlive this object at the end of the process.
    std::shared_ptr<int> const running = std::make_shared<int>(0);
};

} // namespace zelvo
