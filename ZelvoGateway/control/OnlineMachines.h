#pragma once

#include "ZelvoGateway/machines/MachineDirectory.h"
#include "ZelvoGateway/machines/MachineListener.h"
#include "ZelvoGateway/store/Store.h"

namespace zelvo::service {

/// Notes in the store which machines are connected, and passes everything on. A restart of the gateway is not
/// the end of a connection: a machine that has not come back some time later is noted as offline then.
/// Thread: the server's.
class OnlineMachines final : public MachineListener {
public:
    OnlineMachines(MachineListener& next, MachineDirectory& machines, Store& store, Clock& clock)
        : next(next), machines(machines), store(store), clock(clock)
    {
    }

    void sessionBegan(std::shared_ptr<ConnectedMachine> const& machine) override;
    void presenceChanged(std::shared_ptr<ConnectedMachine> const& machine) override;
    void eventReceived(std::shared_ptr<ConnectedMachine> const& machine,
                       records::MachineEvent const& event) override;
    void sessionEnded(std::shared_ptr<ConnectedMachine> const& machine) override;

    /// Notes as offline the machines that are not connected.
    void noteAbsent();
    /// The gateway stops, and with it every session.
    void stop() { stopped = true; }

private:
    MachineListener& next;
    MachineDirectory& machines;
    Store& store;
    Clock& clock;
    bool stopped = false;
};

} // namespace zelvo::service
