#pragma once

#include "ZelvoGateway/control/CommandService.h"
#include "ZelvoGateway/mcp/tools/ScreenSpace.h"
#include "base/Task.h"
#include "wire/AgentScope.h"
#include "wire/Availability.h"
#include "wire/records/Heartbeat.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// A machine that a caller reaches, by one connection to it.
struct ReachedMachine {
    std::string connection; ///< its id
    std::string name;       ///< of the computer; not unique, and from the machine
    bool isOnline = false;
    bool isPaused = false;
    std::optional<Availability> availability = {};
    bool isUnattended = false; ///< has no person, and checks no scopes
    std::vector<AgentScope> scopes = {};
    std::optional<DisplaySize> display = {}; ///< the main one
    records::MachineOS os = records::MachineOS::linux;
    std::weak_ptr<void const> session = {}; ///< the same while it stays connected
};

/// A command for a machine.
struct DesktopCommand {
    std::string connection;
    std::string method;
    json::object params = {};
    std::string client = {};                      ///< who asks, for the person at the machine; may be empty
    Duration patience = std::chrono::seconds(10); ///< how long it waits while another agent is in control
};

/// What the tools need of the gateway, for one caller.
/// Thread: the server's.
/// Made by: GatewayDesktopCommands, tests/gateway/mcp/FakeDesktopCommands.
class DesktopCommands {
public:
    DesktopCommands() = default;
    DesktopCommands(DesktopCommands const&) = delete;
    DesktopCommands& operator=(DesktopCommands const&) = delete;
    virtual ~DesktopCommands() = default;

    /// The machines that the caller reaches now.
    virtual std::vector<ReachedMachine> machines() = 0;
    /// Runs a command. Cancelling the task takes back a command that has not been sent; the result of one
    /// that was sent is dropped.
    /// Throws Failure: what the machine reports, too.
    virtual Task<CommandResult> run(DesktopCommand command) = 0;
};

} // namespace zelvo::service
