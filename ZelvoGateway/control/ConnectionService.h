#pragma once

#include "ZelvoGateway/control/CommandQueue.h"
#include "ZelvoGateway/control/ControlService.h"
#include "ZelvoGateway/machines/MachineDirectory.h"
#include "ZelvoGateway/recordings/RecordingIntake.h"
#include "ZelvoGateway/recordings/RecordingLibrary.h"
#include "ZelvoGateway/store/Store.h"

#include <string>
#include <vector>

namespace zelvo::service {

/// A machine, and whether it is connected.
struct MachineState {
    StoredMachine machine;
    bool online = false;
};

/// A connection and its machine.
struct ConnectionState {
    StoredConnection connection;
    MachineState machine;
};

/// A machine and its connections that are not revoked.
struct MachineOverview {
    MachineState machine;
    std::vector<StoredConnection> connections = {};
};

/// Machines and their connections, and how both end.
/// Thread: the server's. Errors: Failure.
class ConnectionService {
public:
    ConnectionService(Store& store,
                      MachineDirectory& machines,
                      ControlService& control,
                      CommandQueue& queue,
                      RecordingIntake& intake,
                      RecordingLibrary& library,
                      AuditLog& audit,
                      Settings const& settings,
                      Executor server);

    /// What a caller does not reach does not exist for it: neither in a list nor by its id. A machine is
    /// reached through a connection that is not revoked.
    Page<ConnectionState> connections(Caller const& caller, PageQuery query);
    /// The revoked ones too.
    ConnectionState connection(Caller const& caller, std::string const& id);
    Page<MachineState> machinePage(Caller const& caller, PageQuery query);
    MachineState machine(Caller const& caller, std::string const& id);
    std::vector<MachineOverview> overview();
    /// Ends a connection for good, with its queue, its agents and its uploads. The machine hears of it now,
    /// or when it connects next.
    Task<ConnectionState> revoke(Caller caller, std::string id);
    /// Forgets a machine and everything that belongs to it. Its session ends, and its token is refused from
    /// now on. Throws Failure: forbidden if the caller does not reach all its connections.
    Task<> removeMachine(Caller caller, std::string id);
    /// Reports to a machine the connections that ended while it was away.
    void reportRevocations(std::shared_ptr<ConnectedMachine> const& machine);

private:
    void noteRemoval(Caller const& caller,
                     std::string const& machineId,
                     std::vector<StoredConnection> const& connections);
    Task<> sendRevocations(std::shared_ptr<ConnectedMachine> machine);
    Task<> sendRevocation(std::shared_ptr<ConnectedMachine> machine, std::string connectionId);
    MachineState stateOf(StoredMachine machine) const;
    bool isReached(Caller const& caller, std::string const& machineId);

    Store& store;
    MachineDirectory& machines;
    ControlService& control;
    CommandQueue& queue;
    RecordingIntake& intake;
    RecordingLibrary& library;
    AuditLog& audit;
    Settings const& settings;
    Executor server;
};

} // namespace zelvo::service
