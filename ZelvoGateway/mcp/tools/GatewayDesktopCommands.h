#pragma once

#include "ZelvoGateway/base/Caller.h"
#include "ZelvoGateway/control/CommandService.h"
#include "ZelvoGateway/control/ConnectionService.h"
#include "ZelvoGateway/mcp/tools/DesktopCommands.h"

#include <string>
#include <utility>
#include <vector>

namespace zelvo::service {

/// Commands of a caller over the gateway's own services, which must outlive it.
class GatewayDesktopCommands final : public DesktopCommands {
public:
    struct Services {
        CommandService& commands;
        ConnectionService& connections;
        MachineDirectory const& directory;
    };
    /// Whose commands they are.
    struct User {
        Caller caller;
        std::string connection = {}; ///< the only one that it uses; empty for all that it reaches
        std::string ref;             ///< commands with the same one belong to the same agent
    };

    GatewayDesktopCommands(Services services, User user) : services(services), user(std::move(user)) {}

    std::vector<ReachedMachine> machines() override;
    Task<CommandResult> run(DesktopCommand command) override;

private:
    void add(std::vector<ReachedMachine>& all, ConnectionState const& state) const;
    void addListed(std::vector<ReachedMachine>& all, std::string const& connection) const;

    Services services;
    User user;
};

} // namespace zelvo::service
