#pragma once

#include "ZelvoGateway/control/CommandQueue.h"
#include "ZelvoGateway/control/ConnectionService.h"
#include "ZelvoGateway/control/ControlService.h"
#include "ZelvoGateway/machines/MachineDirectory.h"
#include "ZelvoGateway/machines/MachineListener.h"

namespace zelvo::service {

/// Passes on what happens to machines to the services that act on it. Thread: the server's.
class MachineEvents final : public MachineListener {
public:
    MachineEvents(MachineDirectory& machines,
                  ControlService& control,
                  CommandQueue& queue,
                  ConnectionService& connections)
        : machines(machines), control(control), queue(queue), connections(connections)
    {
    }

    void sessionBegan(std::shared_ptr<ConnectedMachine> const& machine) override;
    void presenceChanged(std::shared_ptr<ConnectedMachine> const& machine) override;
    void eventReceived(std::shared_ptr<ConnectedMachine> const& machine,
                       records::MachineEvent const& event) override;
    void sessionEnded(std::shared_ptr<ConnectedMachine> const& machine) override;

private:
    MachineDirectory& machines;
    ControlService& control;
    CommandQueue& queue;
    ConnectionService& connections;
};

} // namespace zelvo::service
