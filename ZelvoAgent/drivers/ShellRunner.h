#pragma once

#include "base/Clock.h"
#include "base/Contexts.h"
#include "drivers/Shell.h"
#include "platform/ChildProcess.h"

#include <memory>

namespace zelvo {

/// Runs commands with bounds on their number, their output and their time. A command that outstays its time
/// is asked to stop together with all that it started, and forced a while later. The reply waits until both
/// outputs are closed, so that what a command leaves behind in its group and with its outputs counts as a
/// part of it; what has left the group is beyond the signals' reach. A caller that goes does not end its
/// command.
class ShellRunner final : public Shell {
public:
    struct Limits {
        std::size_t maxOutputBytes =
            1024UL * 1024; ///< of each output; what comes after it is read and dropped
        int maxConcurrent = 4;
        Duration sigtermGrace = 5s; ///< between the polite and the hard signal
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
    /// On the strand. Shared with the commands, which may outlive this object at the end of the process.
    std::shared_ptr<int> const running = std::make_shared<int>(0);
};

} // namespace zelvo
