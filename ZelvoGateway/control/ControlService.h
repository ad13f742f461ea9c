#pragma once

#include "ZelvoGateway/audit/AuditLog.h"
#include "ZelvoGateway/control/MachineControl.h"
#include "ZelvoGateway/store/Store.h"

#include <map>
#include <memory>
#include <string>

namespace zelvo::service {

/// Lets one agent at a time control a machine, and keeps the machine informed: it gets "agents.update" with
/// the first heartbeat of a session that knows of agents, and after every change. An agent that the person
/// pauses stays paused until the person resumes it, also through a restart, and its commands fail with
/// agent_paused.
/// Thread: the server's. Errors: Failure.
class ControlService {
public:
    /// The right to send commands that need control, until the lease ends. An empty lease belongs to a
    /// command that needs none.
    class Lease {
    public:
        Lease() = default;
        Lease(std::shared_ptr<MachineControl> machine, Arbiter::Ticket ticket)
            : machine(std::move(machine)), ticket(ticket)
        {
        }
        Lease(Lease&& other) noexcept = default;
        Lease& operator=(Lease&& other) = delete;
        ~Lease();

    private:
        std::shared_ptr<MachineControl> machine;
        Arbiter::Ticket ticket = 0;
    };

    ControlService(Store& store, AuditLog& audit, Clock& clock, Settings const& settings, Executor server)
        : store(store), audit(audit), clock(clock), settings(settings), server(std::move(server))
    {
    }
    ControlService(ControlService const&) = delete;
    ControlService& operator=(ControlService const&) = delete;
    ~ControlService() { stop(); }

    /// Waits until `agent` may send a command of this method, at most until `deadline`. A command that the
    /// machine refuses anyway, because the connection lacks the scope, neither waits nor takes control.
    /// Throws Failure: agentPaused; machineBusy; machineOffline if the machine goes away meanwhile.
    Task<Lease> acquire(StoredConnection connection, std::string method, Agent agent, Instant deadline);

    /// Throws Failure: agentPaused.
    void assertNotPaused(std::string const& machineId, std::string const& ref);

    /// Takes in a machine's presence: the agents of connections that ended at the machine are forgotten.
    void presenceChanged(std::shared_ptr<ConnectedMachine> const& machine);
    /// The person paused or resumed an agent. Unknown agents are ignored.
    void pause(std::string const& machineId, std::string const& ref);
    void resume(std::string const& machineId, std::string const& ref);
    void machineGone(std::string const& machineId);
    void machineRemoved(std::string const& machineId);
    /// Forgets the agents of a connection, the paused ones too.
    void connectionRevoked(std::string const& machineId, std::string const& connectionId);
    /// Ends every wait; machines hear nothing any more.
    void stop();

private:
    MachineControl& controlOf(std::string const& machineId);
    void noteByPerson(std::string_view type, Agent const& agent);

    Store& store;
    AuditLog& audit;
    Clock& clock;
    Settings const& settings;
    Executor server;
    std::map<std::string, std::shared_ptr<MachineControl>> controls; // by machine
};

} // namespace zelvo::service
