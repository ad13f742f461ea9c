#include "ZelvoGateway/control/QueueVisits.h"

namespace zelvo::service {

QueueVisits::Visit QueueVisits::of(std::shared_ptr<ConnectedMachine> const& machine)
{
    Visit& visit = visits[machine->machineId()];
    if (!visit || visit->machine != machine)
        visit = std::make_shared<QueueVisit>(QueueVisit{.machine = machine});
    return visit;
}

QueueVisits::Visit QueueVisits::find(std::shared_ptr<ConnectedMachine> const& machine) const
{
    auto const entry = visits.find(machine->machineId());
    return entry != visits.end() && entry->second->machine == machine ? entry->second : nullptr;
}

bool QueueVisits::isCurrent(Visit const& visit) const
{
    auto const entry = visits.find(visit->machine->machineId());
    return entry != visits.end() && entry->second == visit;
}

void QueueVisits::end(Visit const& visit)
{
    if (!visit->back || !isCurrent(visit))
        return;
    visits[visit->machine->machineId()] =
        std::make_shared<QueueVisit>(QueueVisit{.machine = visit->machine, .offered = visit->offered});
}

void QueueVisits::remove(std::shared_ptr<ConnectedMachine> const& machine)
{
    if (find(machine))
        visits.erase(machine->machineId());
}

} // namespace zelvo::service
