#include "ZelvoGateway/Administration.h"

#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/base/ServerClock.h"
#include "ZelvoGateway/console/ConsoleLock.h"
#include "ZelvoGateway/control/LinkService.h"
#include "ZelvoGateway/mcp/stdio/StdioBridge.h"
#include "ZelvoGateway/store/OpenStore.h"

#include <boost/asio/io_context.hpp>

#include <unistd.h>

#include <csignal>
#include <ostream>

namespace zelvo::service {

void provision(Flags const& flags, std::ostream& out)
{
    DataFolder folder(flags.settings.dataFolder);
    SqliteStore store = openStore(folder);
    asio::io_context io;
    ServerClock clock(io.get_executor());
    AuditLog audit(store, clock, flags.settings.audit, io.get_executor());
    LinkService links(store, audit, flags.settings);
    auto const made = links.provision(Caller::console(), flags.endUserId);
    audit.flush();
    out << "machine " << made.machine.machineId << "\nconnection " << made.connectionId << "\n";
    if (!flags.connectionFile.empty())
        writePrivateFile(flags.connectionFile, made.connectionId + "\n");
    if (flags.tokenFile.empty())
        out << "token " << made.machine.token << "\n";
    else
        writePrivateFile(flags.tokenFile, made.machine.token);
}

void printConsoleLink(Flags const& flags, std::ostream& out)
{
    DataFolder folder(flags.settings.dataFolder);
    auto address = folder.read("address");
    if (!address ||
        !DataFolder::isServed(flags.settings.dataFolder)) // One that was killed leaves its address.
        throw std::runtime_error("no gateway is running on " + flags.settings.dataFolder);
    while (!address->empty() && address->back() == '\n')
        address->pop_back();
    SqliteStore store = openStore(folder);
    out << newConsoleLink(store, *address, flags.settings.consoleLinkLifetime) << "\n";
}

void serveMcpClient(Flags const& flags)
{
    std::signal(SIGPIPE, SIG_IGN);
    GatewayChoice const choice{.dataFolder = flags.settings.dataFolder,
                               .url = flags.gatewayUrl,
                               .keyFile = flags.keyFile,
                               .connection = flags.connections.empty() ? "" : flags.connections.front(),
                               .switches = flags.mcpSwitches};
    joinGateway(placeOf(choice), STDIN_FILENO, STDOUT_FILENO);
}

} // namespace zelvo::service
