#pragma once

#include "ZelvoGateway/base/Settings.h"
#include "ZelvoGateway/machines/MachineRegistry.h"
#include "ZelvoGateway/store/Store.h"
#include "wire/records/ServiceMachines.h"

#include <string>
#include <vector>

namespace zelvo::service {

/// What platforms and the console see of machines and connections, and how they end.
/// Thread: the server's. Errors: Failure.
class ConnectionService {
public:
    ConnectionService(Store& store, MachineRegistry& machines, Settings const& settings)
        : store(store), machines(machines), settings(settings)
    {
    }

    std::vector<records::Connection> connections();
    records::Machine machine(std::string const& id);
    /// Ends a connection for good and tells the machine, now or when it connects next.
    records::Connection revoke(std::string const& id);
    /// Forgets a machine: its token is refused from here on, and its session ends with 4401.
    void removeMachine(std::string const& id);
    /// Tells a machine that has just connected of the connections that ended while it was away.
    Task<> tellRevocations(std::shared_ptr<MachineSession> session);

    /// The console's list: every machine with its name and its active connections.
    json::object overview();

private:
    Task<> tellRevocation(std::shared_ptr<MachineSession> session, std::string connectionId);

    Store& store;
    MachineRegistry& machines;
    Settings const& settings;
};

} // namespace zelvo::service
