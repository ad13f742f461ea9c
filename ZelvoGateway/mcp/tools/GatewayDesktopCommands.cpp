#include "ZelvoGateway/mcp/tools/GatewayDesktopCommands.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/control/MachineView.h"

#include <algorithm>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::size_t usualBytes = 256; // of a command without a large text

/// About how long the command's text is: only these texts can be large.
std::size_t bytesOf(json::object const& params)
{
    std::size_t bytes = usualBytes;
    for (std::string_view const key : {"data", "text", "command"})
        if (json::value const* const value = params.if_contains(key); value && value->is_string())
            bytes += value->get_string().size();
    return bytes;
}

ReachedMachine reached(MachineState const& state, StoredConnection const& connection)
{
    StoredMachine const& machine = state.machine;
    ReachedMachine one{.connection = connection.id,
                       .name = displayName(machine),
                       .isOnline = state.online,
                       .isPaused = machine.paused,
                       .isUnattended = connection.kind != AgentMode::connected,
                       .scopes = connection.scopes};
    if (!machine.heartbeat)
        return one;
    records::Heartbeat const& heartbeat = *machine.heartbeat;
    one.availability = heartbeat.availability;
    one.os = heartbeat.os.value_or(one.os);
    if (heartbeat.display)
        one.display =
            DisplaySize{.width = heartbeat.display->widthPoints, .height = heartbeat.display->heightPoints};
    return one;
}

} // namespace

std::vector<ReachedMachine> GatewayDesktopCommands::machines()
{
    std::vector<ReachedMachine> all;
    for (MachineOverview const& overview : services.connections.overview())
        for (StoredConnection const& connection : overview.connections) {
            if (!caller.reaches(connection))
                continue;
            all.push_back(reached(overview.machine, connection));
            if (auto const session = services.directory.find(connection.machineId))
                all.back().session = session;
        }
    return all;
}

Task<CommandResult> GatewayDesktopCommands::run(DesktopCommand command)
{
    std::size_t const bytes = bytesOf(command.params);
    json::object agent{{"ref", caller.ref}};
    if (!command.client.empty())
        agent["name"] = std::move(command.client);
    PlatformCommand platform{.method = std::move(command.method),
                             .params = std::move(command.params),
                             .agent = std::move(agent),
                             .patience = command.patience};
    CommandOutcome outcome =
        co_await services.commands.run(std::move(command.connection), std::move(platform), bytes);
    if (auto* const result = std::get_if<CommandResult>(&outcome))
        co_return std::move(*result);
    throw Failure{.code = ErrorCode::internalError, .message = "The command was queued"};
}

} // namespace zelvo::service
