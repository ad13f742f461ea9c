#pragma once

#include "ZelvoGateway/HttpMessage.h"
#include "ZelvoGateway/MachineRegistry.h"
#include "ZelvoGateway/Settings.h"
#include "ZelvoGateway/Store.h"

namespace zelvo::service {

/// Carries a platform's command to the machine of a connection, and its answer back.
/// Thread: the server's; large texts are read and written on the workers. Errors: Failure.
class CommandService {
public:
    CommandService(Store& store, MachineRegistry& machines, Settings const& settings, Executor workers)
        : store(store), machines(machines), settings(settings), workers(std::move(workers))
    {
    }

    /// body   {"method", "params"?, "agent"?}
    /// Gives  {"result": ...} as a response of 200. The machine's own error is thrown as a Failure.
    Task<HttpResponse> run(std::string connectionId, std::string body);

private:
    std::shared_ptr<MachineSession> machineOf(std::string const& connectionId);
    Task<json::object> readBody(std::string body);
    Task<HttpResponse> responseOf(std::string requestId, MachineMessage reply);

    Store& store;
    MachineRegistry& machines;
    Settings const& settings;
    Executor workers;
};

/// Reads JSON text: here when it is short, on the workers when it would hold up everybody else.
Task<std::optional<json::value>> parseOn(Executor workers, std::string_view text);
Task<std::string> writeOn(Executor workers, json::value value, std::size_t bytes);

} // namespace zelvo::service
