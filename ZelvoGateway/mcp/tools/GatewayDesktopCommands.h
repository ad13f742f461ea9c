#pragma once

#include "ZelvoGateway/control/CommandService.h"
#include "ZelvoGateway/control/ConnectionService.h"
#include "ZelvoGateway/mcp/tools/DesktopCommands.h"

#include <functional>
#include <string>

namespace zelvo::service {

/// Commands of a caller over the gateway's own services, which must outlive it.
class GatewayDesktopCommands final : public DesktopCommands {
public:
    struct Services {
        CommandService& commands;
        ConnectionService& connections;
        MachineDirectory const& directory;
    };
    /// Which connections a caller may use, and who it is for the machines.
    struct Caller {
        std::function<bool(StoredConnection const&)> reaches;
        std::string ref; ///< the calls with the same one belong to the same agent
    };

    GatewayDesktopCommands(Services services, Caller caller) : services(services), caller(std::move(caller))
    {
    }

    std::vector<ReachedMachine> machines() override;
    Task<CommandResult> run(DesktopCommand command) override;

private:
    Services services;
    Caller caller;
};

} // namespace zelvo::service
