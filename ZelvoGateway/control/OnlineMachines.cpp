#include "ZelvoGateway/control/OnlineMachines.h"

namespace zelvo::service {

void OnlineMachines::sessionBegan(std::shared_ptr<ConnectedMachine> const& machine)
{
    next.sessionBegan(machine);
    store.setOnline(machine->machineId(), true, clock.date());
}

void OnlineMachines::presenceChanged(std::shared_ptr<ConnectedMachine> const& machine)
{
    next.presenceChanged(machine);
}

void OnlineMachines::eventReceived(std::shared_ptr<ConnectedMachine> const& machine,
                                   records::MachineEvent const& event)
{
    next.eventReceived(machine, event);
}

void OnlineMachines::sessionEnded(std::shared_ptr<ConnectedMachine> const& machine)
{
    next.sessionEnded(machine);
    auto const newer = machines.find(machine->machineId());
    if (!stopped && (!newer || newer == machine))
        store.setOnline(machine->machineId(), false, clock.date());
}

void OnlineMachines::noteAbsent()
{
    for (std::string const& id : store.onlineMachines())
        if (!machines.isOnline(id))
            store.setOnline(id, false, clock.date());
}

} // namespace zelvo::service
