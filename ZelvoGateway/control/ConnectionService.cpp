#include "ZelvoGateway/control/ConnectionService.h"

#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"
#include "ZelvoGateway/base/Today.h"
#include "ZelvoGateway/control/MachineView.h"

namespace zelvo::service {

namespace {

Failure noMachine()
{
    return {.code = ErrorCode::notFound, .message = "There is no such machine"};
}

json::object shortConnection(StoredConnection const& connection)
{
    return {{"id", connection.id},
            {"endUserId", connection.endUserId},
            {"platformName", connection.platformName},
            {"scopes", records::toJson(connection.scopes)},
            {"createdAt", connection.createdAt}};
}

} // namespace

std::vector<records::Connection> ConnectionService::connections()
{
    std::vector<records::Connection> all;
    for (StoredConnection const& connection : store.connections())
        if (auto const machine = store.machine(connection.machineId))
            all.push_back(connectionRecord(connection, *machine, machines.isOnline(machine->id)));
    return all;
}

records::Machine ConnectionService::machine(std::string const& id)
{
    auto const machine = store.machine(id);
    if (!machine)
        throw noMachine();
    return machineRecord(*machine, machines.isOnline(id));
}

records::Connection ConnectionService::revoke(std::string const& id)
{
    store.revoke(id, today());
    auto const connection = store.connection(id);
    auto const machine = connection ? store.machine(connection->machineId) : std::nullopt;
    if (!machine)
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such connection"};
    if (auto const session = machines.find(machine->id))
        spawn(session->executor(), [this, session] { return tellRevocations(session); });
    return connectionRecord(*connection, *machine, machines.isOnline(machine->id));
}

void ConnectionService::removeMachine(std::string const& id)
{
    if (!store.removeMachine(id))
        throw noMachine();
    machines.reject(id);
}

Task<> ConnectionService::tellRevocations(std::shared_ptr<MachineSession> session)
{
    for (std::string const& connectionId : store.revocationsToTell(session->machineId()))
        co_await tellRevocation(session, connectionId);
}

Task<> ConnectionService::tellRevocation(std::shared_ptr<MachineSession> session, std::string connectionId)
{
    std::string const requestId = newId("req");
    json::object const frame{
        {"id", requestId}, {"method", "connection.revoke"}, {"params", {{"connectionId", connectionId}}}};
    try {
        MachineMessage const reply =
            co_await session->call(requestId, writeJson(frame), settings.commandTimeout);
        if (reply.value.get_object().contains("result"))
            store.setRevocationTold(connectionId);
    } catch (Failure const&) {
        // It is told again when the machine connects next.
    }
}

json::object ConnectionService::overview()
{
    json::array list;
    for (StoredMachine const& machine : store.machines()) {
        json::array active;
        for (StoredConnection const& connection : store.connectionsOf(machine.id))
            if (!connection.revokedAt)
                active.push_back(shortConnection(connection));
        list.push_back({{"id", machine.id},
                        {"name", displayName(machine)},
                        {"kind", rawValue(machine.kind)},
                        {"machine", records::toJson(machineRecord(machine, machines.isOnline(machine.id)))},
                        {"connections", std::move(active)}});
    }
    return {{"machines", std::move(list)}};
}

} // namespace zelvo::service
