#include "ZelvoGateway/mcp/tools/GatewayDesktopCommands.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/control/MachineView.h"
#include "ZelvoGateway/mcp/MessageSize.h"

#include <algorithm>
#include <utility>

namespace zelvo::service {

namespace {

constexpr std::size_t usualBytes = 256; // of a command beside its params

ReachedMachine reached(ConnectionState const& state)
{
    StoredMachine const& machine = state.machine.machine;
    ReachedMachine one{.connection = state.connection.id,
                       .name = displayName(machine),
                       .isOnline = state.machine.online,
                       .isPaused = machine.paused,
                       .isUnattended = state.connection.kind != AgentMode::connected,
                       .scopes = state.connection.scopes};
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

void GatewayDesktopCommands::add(std::vector<ReachedMachine>& all, ConnectionState const& state) const
{
    if (state.connection.revokedAt || !user.caller.reaches(state.connection))
        return;
    all.push_back(reached(state));
    if (auto const session = services.directory.find(state.connection.machineId))
        all.back().session = session;
}

void GatewayDesktopCommands::addListed(std::vector<ReachedMachine>& all, std::string const& connection) const
{
    try {
        add(all, services.connections.connection(user.caller, connection));
    } catch (Failure const& failure) {
        if (failure.code != ErrorCode::notFound) // The key outlives the connection.
            throw;
    }
}

std::vector<ReachedMachine> GatewayDesktopCommands::machines()
{
    std::vector<ReachedMachine> all;
    Reach const& reach = user.caller.reach;
    if (!user.connection.empty()) {
        addListed(all, user.connection);
    } else if (!reach.all && reach.endUsers.empty()) {
        for (std::string const& connection : reach.connections)
            addListed(all, connection);
    } else {
        for (MachineOverview const& machine : services.connections.overview())
            for (StoredConnection const& connection : machine.connections)
                add(all, {.connection = connection, .machine = machine.machine});
    }
    return all;
}

Task<CommandResult> GatewayDesktopCommands::run(DesktopCommand command)
{
    std::size_t bytes = usualBytes;
    for (auto const& [name, value] : command.params)
        bytes += name.size() + sizeOf(value);
    json::object agent{{"ref", user.ref}};
    if (!command.client.empty())
        agent["name"] = command.client;
    PlatformCommand platform{.method = std::move(command.method),
                             .params = std::move(command.params),
                             .agent = std::move(agent),
                             .patience = command.patience};
    CommandOutcome outcome = co_await services.commands.run(user.caller, std::move(command.connection),
                                                            std::move(platform), bytes);
    if (auto* const result = std::get_if<CommandResult>(&outcome))
        co_return std::move(*result);
    throw Failure{.code = ErrorCode::internalError, .message = "The command was queued"};
}

} // namespace zelvo::service
