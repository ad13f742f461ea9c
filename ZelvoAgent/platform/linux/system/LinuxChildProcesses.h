#pragma once

#include "base/Contexts.h"
#include "platform/ChildProcess.h"

#include <memory>

namespace zelvo {

/// Children that are started on a worker and followed by descriptors on the agent's io_context. Waits for no
/// process but its own, so that it takes nobody else's child.
class LinuxChildProcesses final : public ChildProcesses {
public:
    /// contexts.agent must stand on an io_context that runs on one thread.
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
