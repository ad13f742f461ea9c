#include "ZelvoGateway/mcp/desktop/DesktopMcpHost.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/mcp/DesktopTools.h"
#include "ZelvoGateway/mcp/tools/DesktopToolRunner.h"
#include "ZelvoGateway/mcp/tools/GatewayDesktopCommands.h"

namespace zelvo::service {

namespace {

[[noreturn]] void refuseConnection()
{
    throw Failure{.code = ErrorCode::notFound, .message = "There is no such connection"};
}

} // namespace

DesktopMcpHost::DesktopMcpHost(Services services, std::string version)
    : services(std::move(services)), version(std::move(version)),
      turns(std::make_shared<CallTurns>(this->services.server, this->services.clock)),
      // From the store, because models may still hold references of before a restart.
      numbers(std::make_shared<ReferenceNumbers>(
          [&store = this->services.store](std::uint64_t count) { return store.reserveNumbers(count); }))
{
}

void DesktopMcpHost::assertReaches(McpTarget const& target)
{
    if (target.address.connection.empty())
        return;
    ConnectionState const state = services.connections.connection(target.caller, target.address.connection);
    if (state.connection.revokedAt)
        refuseConnection();
}

std::shared_ptr<McpServer const> DesktopMcpHost::server(McpAddress const& address)
{
    DesktopToolChoice const choice{.namesMachines = address.connection.empty(),
                                   .hasComputerTool = address.hasComputerTool};
    std::shared_ptr<McpServer const>& server = servers[{choice.namesMachines, choice.hasComputerTool}];
    if (!server)
        server = std::make_shared<McpServer const>(McpServer{.name = "zelvo",
                                                             .title = "Zelvo",
                                                             .version = version,
                                                             .instructions = desktopInstructions(),
                                                             .tools = desktopTools(choice)});
    return server;
}

std::shared_ptr<ToolRunner> DesktopMcpHost::newRunner(McpTarget const& target)
{
    // The person at the machine pauses an agent by its ref. It comes from the key, so that a client can't get
    // rid of a pause by beginning anew.
    GatewayDesktopCommands::User user{.caller = target.caller,
                                      .connection = target.address.connection,
                                      .ref = "mcp-" + target.caller.keyId};
    auto commands = std::make_shared<GatewayDesktopCommands>(
        GatewayDesktopCommands::Services{services.commands, services.connections, services.directory},
        std::move(user));
    ConversationOptions options{.key = target.caller.keyId,
                                .memory = services.memory.partOf("mcp " + target.caller.keyId),
                                .turns = turns,
                                .numbers = numbers};
    return std::make_shared<DesktopToolRunner>(
        ToolServices{.commands = std::move(commands),
                     .clock = services.clock,
                     .server = services.server,
                     .workers = services.workers,
                     .pictures = PictureLimits::forWidth(target.address.width)},
        std::move(options));
}

} // namespace zelvo::service
