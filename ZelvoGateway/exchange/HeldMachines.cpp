#include "ZelvoGateway/exchange/HeldMachines.h"

#include <utility>

namespace zelvo::service {

bool HeldMachines::add(std::string const& machineId, Held held)
{
    Held& place = machines[machineId];
    bool const isNewer = !place.holder || held.term > place.term;
    Held const older = isNewer ? std::exchange(place, std::move(held)) : std::move(held);
    if (older.holder)
        older.holder->replaced();
    return isNewer;
}

void HeldMachines::remove(std::string const& machineId, std::uint64_t term)
{
    auto const found = machines.find(machineId);
    if (found != machines.end() && found->second.term == term)
        machines.erase(found);
}

std::optional<std::uint64_t> HeldMachines::yield(std::string const& machineId, std::uint64_t term)
{
    auto const found = machines.find(machineId);
    if (found == machines.end())
        return std::nullopt;
    if (found->second.term > term)
        return found->second.term;
    auto const older = std::move(found->second.holder);
    machines.erase(found);
    older->replaced();
    return std::nullopt;
}

std::shared_ptr<MachineHolder> HeldMachines::find(std::string const& machineId) const
{
    auto const found = machines.find(machineId);
    return found == machines.end() ? nullptr : found->second.holder;
}

} // namespace zelvo::service
