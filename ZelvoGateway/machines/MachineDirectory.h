#pragma once

#include "ZelvoGateway/machines/ConnectedMachine.h"

#include <memory>
#include <string>

namespace zelvo::service {

/// Knows where each machine is connected. A machine has one session at a time: a newer one replaces the
/// older. Answers come from what this process knows already, so no call waits; a machine that has just gone
/// may still be found, and then its calls fail with machineOffline. Thread: the server's. Made by:
/// LocalMachineDirectory, tests/gateway/support/FakeMachineDirectory.
class MachineDirectory {
public:
    virtual ~MachineDirectory() = default;
    /// Null if the machine is not connected.
    virtual std::shared_ptr<ConnectedMachine> find(std::string const& machineId) const = 0;
    bool isOnline(std::string const& machineId) const { return find(machineId) != nullptr; }
    /// Ends the session of a machine that was removed, with close code 4401.
    virtual void reject(std::string const& machineId) = 0;
};

} // namespace zelvo::service
