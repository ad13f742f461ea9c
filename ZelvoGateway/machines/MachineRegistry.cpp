#include "ZelvoGateway/machines/MachineRegistry.h"

namespace zelvo::service {

void MachineRegistry::attach(std::shared_ptr<MachineSession> session)
{
    std::shared_ptr<MachineSession>& place = sessions[session->machineId()];
    auto const older = std::exchange(place, std::move(session));
    if (!older)
        return;
    older->ended();
    older->close(CloseCode::replaced, "replaced by a newer connection of this machine");
}

void MachineRegistry::detach(std::shared_ptr<MachineSession> const& session)
{
    auto const entry = sessions.find(session->machineId());
    if (entry != sessions.end() && entry->second == session)
        sessions.erase(entry);
}

std::shared_ptr<MachineSession> MachineRegistry::find(std::string const& machineId) const
{
    auto const entry = sessions.find(machineId);
    return entry == sessions.end() ? nullptr : entry->second;
}

void MachineRegistry::reject(std::string const& machineId)
{
    auto const session = find(machineId);
    if (!session)
        return;
    sessions.erase(machineId);
    session->ended();
    session->close(CloseCode::tokenRejected, "the machine was removed");
}

void MachineRegistry::closeAll()
{
    for (auto const& [machineId, session] : std::exchange(sessions, {})) {
        session->ended();
        session->close(CloseCode::goingAway, CloseReason::stopping);
    }
}

} // namespace zelvo::service
