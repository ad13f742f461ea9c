#pragma once

#include "ZelvoGateway/base/MemoryBudget.h"
#include "ZelvoGateway/control/CommandService.h"
#include "ZelvoGateway/control/ConnectionService.h"
#include "ZelvoGateway/mcp/tools/CallTurns.h"
#include "ZelvoGateway/mcp/tools/ReferenceNumbers.h"
#include "ZelvoGateway/mcp/transport/McpHost.h"
#include "ZelvoGateway/store/Store.h"
#include "base/Clock.h"

#include <map>
#include <memory>
#include <string>
#include <utility>

namespace zelvo::service {

/// Serves the desktops of this gateway at "/mcp".
/// Thread: the server's.
class DesktopMcpHost final : public McpHost {
public:
    struct Services {
        ConnectionService& connections;
        CommandService& commands;
        MachineDirectory const& directory;
        Store& store;
        MemoryBudget& memory;
        Clock& clock;
        Executor server;
        Executor workers;
    };

    /// version   of the program, for clients
    DesktopMcpHost(Services services, std::string version);

    void assertReaches(McpTarget const& target) override;
    std::shared_ptr<McpServer const> server(McpAddress const& address) override;
    std::shared_ptr<ToolRunner> newRunner(McpTarget const& target) override;

private:
    Services services;
    std::string version;
    std::map<std::pair<bool, bool>, std::shared_ptr<McpServer const>>
        servers; ///< by what its tools depend on
    std::shared_ptr<CallTurns> turns;
    std::shared_ptr<ReferenceNumbers> numbers;
};

} // namespace zelvo::service
