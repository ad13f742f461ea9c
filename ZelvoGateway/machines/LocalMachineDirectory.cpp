#include "ZelvoGateway/machines/LocalMachineDirectory.h"

namespace zelvo::service {

namespace {

constexpr char const* stopping = "the gateway is stopping";

} // namespace

void LocalMachineDirectory::attach(std::shared_ptr<MachineSession> session)
{
    if (closed) {
        session->close(CloseCode::serviceRestart, stopping);
        return;
    }
    std::shared_ptr<MachineSession>& place = sessions[session->machineId()];
    auto const older = std::exchange(place, std::move(session));
    if (!older)
        return;
    older->ended();
    older->close(CloseCode::replaced, "replaced by a newer connection of this machine");
}

void LocalMachineDirectory::detach(std::shared_ptr<MachineSession> const& session)
{
    auto const entry = sessions.find(session->machineId());
    if (entry != sessions.end() && entry->second == session)
        sessions.erase(entry);
}

std::shared_ptr<ConnectedMachine> LocalMachineDirectory::find(std::string const& machineId) const
{
    auto const entry = sessions.find(machineId);
    return entry == sessions.end() ? nullptr : entry->second;
}

void LocalMachineDirectory::reject(std::string const& machineId)
{
    auto const found = sessions.extract(machineId);
    if (!found)
        return;
    found.mapped()->ended();
    found.mapped()->close(CloseCode::tokenRejected, "the machine was removed");
}

void LocalMachineDirectory::closeAll()
{
    closed = true;
    for (auto const& [machineId, session] : std::exchange(sessions, {})) {
        session->ended();
        session->close(CloseCode::serviceRestart, stopping);
    }
}

} // namespace zelvo::service
