#pragma once

#include "ZelvoGateway/mcp/McpSession.h"
#include "base/Task.h"

#include <functional>
#include <string>

namespace zelvo::service {

/// Carries out the tool calls of one client. References to elements, snapshots and handles of pending calls
/// belong to the runner that gave them out; to every other one they are unknown.
/// Thread: the server's.
/// Made by: DesktopToolRunner.
class ToolRunner {
public:
    /// Reports that a call goes on.
    /// value   grows from report to report
    using Report = std::function<void(double value, std::string message)>;

    ToolRunner() = default;
    ToolRunner(ToolRunner const&) = delete;
    ToolRunner& operator=(ToolRunner const&) = delete;
    virtual ~ToolRunner() = default;

    /// Carries out a call whose arguments fit the tool's schema. Failures that a model can act upon are
    /// results. Cancelling the task cancels the call. The runner must outlive the task.
    virtual Task<McpToolResult> run(McpCall call, Report report) = 0;
};

} // namespace zelvo::service
