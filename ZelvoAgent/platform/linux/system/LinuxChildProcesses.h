#pragma once

#include "base/Contexts.h"
#include "platform/ChildProcess.h"

#include <memory>

namespace zelvo {

/// Starts children on a worker and follows them by descriptors on the agent's io_context. Waits only for its
/// own processes, so it reaps nobody else's child.
class LinuxChildProcesses final : public ChildProcesses {
public:
    /// contexts.agent must belong to an io_context that runs on one thread.
    explicit LinuxChildProcesses(Contexts contexts);
    ~LinuxChildProcesses() override;

    Task<std::unique_ptr<ChildProcess>> launch(ChildLaunch launch) override;
    void terminateAll() override;

private:
    class RunningGroups;
    class Process;
    class Child;

    Contexts contexts;
    std::shared_ptr<RunningGroups> groups;
};

} // namespace zelvo
