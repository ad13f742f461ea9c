#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/mcp/McpTool.h"
#include "ZelvoGateway/mcp/ToolRunner.h"
#include "ZelvoGateway/mcp/tools/Wakeup.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvo::service {

/// A call that runs as a separate task, so that it can go on after its client got an answer. Its result
/// can be waited for any number of times.
/// Thread: the server's.
class OpenCall : public std::enable_shared_from_this<OpenCall> {
public:
    using Body = std::function<Task<McpToolResult>()>;

    OpenCall(Executor server, Clock& clock)
        : server(std::move(server)), clock(clock), wakeup(this->server, clock)
    {
    }

    /// what   what the call waits for, for people; asked for as long as it runs
    void begin(Body body, std::function<std::string()> what);
    /// Waits for the result, at most until `until`, and reports every few seconds. Throws operation_aborted
    /// if cancelled.
    Task<> wait(Instant until, ToolRunner::Report report);
    /// Takes back what can be taken back; there will be no result.
    void cancel() { task.cancel(); }

    std::string activityNow() const { return activity(); }
    bool hasEnded() const { return outcome.has_value(); }
    McpToolResult const& result() const { return *outcome; }
    McpToolResult takeResult() { return *std::move(outcome); }
    /// Replaces the result.
    void setResult(McpToolResult result) { outcome = std::move(result); }
    Instant endedAt() const { return ended; }

    MemoryBudget::Lease memory; ///< of a result that is kept

private:
    Task<> run(Body body);

    Executor server;
    Clock& clock;
    Wakeup wakeup;
    TaskHandle task;
    std::function<std::string()> activity;
    std::optional<McpToolResult> outcome;
    Instant ended{};
};

} // namespace zelvo::service
