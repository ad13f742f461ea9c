#include "ZelvoGateway/control/MachineEvents.h"

namespace zelvo::service {

void MachineEvents::sessionBegan(std::shared_ptr<ConnectedMachine> const& machine)
{
    connections.reportRevocations(machine);
}

void MachineEvents::presenceChanged(std::shared_ptr<ConnectedMachine> const& machine)
{
    control.presenceChanged(machine);
    queue.presenceChanged(machine);
}

void MachineEvents::eventReceived(std::shared_ptr<ConnectedMachine> const& machine,
                                  records::MachineEvent const& event)
{
    using records::MachineEventType;
    auto const ref = event.data ? read::text(*event.data, "ref") : std::nullopt;
    if (event.event == MachineEventType::agentPause && ref)
        control.pause(machine->machineId(), *ref);
    else if (event.event == MachineEventType::agentResume && ref)
        control.resume(machine->machineId(), *ref);
    else if (event.event == MachineEventType::queuedCommandsACK)
        queue.acknowledged(machine, event);
}

void MachineEvents::sessionEnded(std::shared_ptr<ConnectedMachine> const& machine)
{
    queue.sessionEnded(machine);
    auto const newer = machines.find(machine->machineId());
    if (!newer || newer == machine) // Otherwise the machine only has a new socket, and control goes on.
        control.machineGone(machine->machineId());
}

} // namespace zelvo::service
