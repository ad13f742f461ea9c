#pragma once

#include "ZelvoGateway/api/Endpoints.h"
#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/control/CommandService.h"

#include <vector>

namespace zelvo::service {

/// "/v1/connections/ID/commands": runs commands, and reports on queued ones.
/// Thread: the server's; large texts are read and written on the workers.
class CommandApi {
public:
    CommandApi(AccessControl const& access,
               CommandService& commands,
               MemoryBudget& memory,
               Limits const& limits,
               Executor workers)
        : endpoints(access), access(access), commands(commands), memory(memory), limits(limits),
          workers(std::move(workers))
    {
    }

    std::vector<Route> routes();

private:
    /// 200 with {"result": ...}, or 202 with a QueuedCommand.
    Task<HttpResponse> handleRun(HttpRequest request, PathIds ids);
    /// A QueuedCommand, with its result or error once it has ended.
    Task<HttpResponse> handleState(HttpRequest request, PathIds ids);
    Task<HttpResponse> handleCancel(HttpRequest request, PathIds ids);
    static Task<PlatformCommand> commandIn(Executor workers, std::string body);
    Task<HttpResponse> responseOf(CommandResult result);
    HttpResponse recordResponse(StoredCommand const& command);

    Endpoints endpoints;
    AccessControl const& access;
    CommandService& commands;
    MemoryBudget& memory;
    Limits const& limits;
    Executor workers;
};

} // namespace zelvo::service
