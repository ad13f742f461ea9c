#pragma once

#include "ZelvoGateway/control/Arbiter.h"
#include "ZelvoGateway/machines/MachineSession.h"

#include <map>
#include <memory>
#include <set>
#include <string>

namespace zelvo::service {

/// Lets one agent at a time control a machine, and tells the machine with "agents.update" who that is, who
/// waits and whom the person has put aside: with the first heartbeat of a session that knows of agents, and
/// whenever it changes. Whom the person puts aside stays so until the person says otherwise, also through a
/// restart; it gets "agent_paused" for whatever it asks. Thread: the server's. Errors: Failure.
class ControlService {
    class Desk;

public:
    /// The right to send commands of control, until it is let go. An empty one is of a command that needs
    /// none.
    class Lease {
    public:
        Lease() = default;
        Lease(std::shared_ptr<Desk> desk, Arbiter::Ticket ticket) : desk(std::move(desk)), ticket(ticket) {}
        Lease(Lease&& other) noexcept = default;
        Lease& operator=(Lease&& other) = delete;
        ~Lease();

    private:
        std::shared_ptr<Desk> desk;
        Arbiter::Ticket ticket = 0;
    };

    ControlService(Store& store, Clock& clock, Settings const& settings)
        : store(store), clock(clock), settings(settings)
    {
    }
    ControlService(ControlService const&) = delete;
    ControlService& operator=(ControlService const&) = delete;
    ~ControlService() { stop(); }

    /// Waits until `agent` may send a command of this method, at most until `deadline`. What the machine
    /// refuses anyway, for want of the scope, takes control from nobody and does not wait.
    /// Throws Failure: agentPaused, machineBusy, machineOffline when the machine goes away meanwhile.
    Task<Lease> acquire(StoredConnection connection, std::string method, Agent agent, Instant deadline);

    /// Throws Failure: agentPaused.
    void assertNotPaused(std::string const& machineId, std::string const& ref);

    /// Takes in what a heartbeat has told: connections that ended at the machine have no agents any more.
    void heartbeat(std::shared_ptr<MachineSession> const& session);
    /// "agent_pause" and "agent_resume" of the person; a handle that is not known is passed over.
    void pause(std::string const& machineId, std::string const& ref);
    void resume(std::string const& machineId, std::string const& ref);
    void machineGone(std::string const& machineId);
    void machineRemoved(std::string const& machineId);
    /// Forgets the connection's agents, also those that were put aside.
    void connectionRevoked(std::string const& machineId, std::string const& connectionId);
    /// Ends every wait; nothing is told any more.
    void stop();

private:
    Desk& deskOf(std::string const& machineId);

    Store& store;
    Clock& clock;
    Settings const& settings;
    std::map<std::string, std::shared_ptr<Desk>> desks; // by machine
};

} // namespace zelvo::service
