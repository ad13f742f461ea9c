#include "ZelvoGateway/control/ConnectionService.h"

#include "ZelvoGateway/base/Dates.h"
#include "ZelvoGateway/base/Failure.h"
#include "ZelvoGateway/base/Secrets.h"

#include <algorithm>

namespace zelvo::service {

namespace {

Failure noMachine()
{
    return {.code = ErrorCode::notFound, .message = "There is no such machine"};
}

} // namespace

ConnectionService::ConnectionService(Store& store,
                                     MachineDirectory& machines,
                                     ControlService& control,
                                     CommandQueue& queue,
                                     RecordingIntake& intake,
                                     RecordingLibrary& library,
                                     AuditLog& audit,
                                     Settings const& settings,
                                     Executor server)
    : store(store), machines(machines), control(control), queue(queue), intake(intake), library(library),
      audit(audit), settings(settings), server(std::move(server))
{
}

MachineState ConnectionService::stateOf(StoredMachine machine) const
{
    bool const online = machines.isOnline(machine.id);
    return {.machine = std::move(machine), .online = online};
}

Page<ConnectionState> ConnectionService::connections(Caller const& caller, PageQuery query)
{
    query.reach = caller.reach;
    auto stored = store.connectionPage(query);
    Page<ConnectionState> page{.next = std::move(stored.next)};
    for (StoredConnection& connection : stored.rows)
        if (auto machine = store.machine(connection.machineId))
            page.rows.push_back(
                {.connection = std::move(connection), .machine = stateOf(*std::move(machine))});
    return page;
}

ConnectionState ConnectionService::connection(Caller const& caller, std::string const& id)
{
    auto connection = store.connection(id);
    auto machine =
        connection && caller.reaches(*connection) ? store.machine(connection->machineId) : std::nullopt;
    if (!machine)
        throw Failure{.code = ErrorCode::notFound, .message = "There is no such connection"};
    return {.connection = *std::move(connection), .machine = stateOf(*std::move(machine))};
}

Page<MachineState> ConnectionService::machinePage(Caller const& caller, PageQuery query)
{
    query.reach = caller.reach;
    auto stored = store.machinePage(query);
    Page<MachineState> page{.next = std::move(stored.next)};
    for (StoredMachine& machine : stored.rows)
        page.rows.push_back(stateOf(std::move(machine)));
    return page;
}

bool ConnectionService::isReached(Caller const& caller, std::string const& machineId)
{
    return caller.reach.all ||
           std::ranges::any_of(store.connectionsOf(machineId), [&](StoredConnection const& one) {
               return !one.revokedAt && caller.reaches(one);
           });
}

MachineState ConnectionService::machine(Caller const& caller, std::string const& id)
{
    auto machine = store.machine(id);
    if (!machine || !isReached(caller, id))
        throw noMachine();
    return stateOf(*std::move(machine));
}

std::vector<MachineOverview> ConnectionService::overview()
{
    std::vector<MachineOverview> all;
    for (StoredMachine& machine : store.machines()) {
        auto connections = store.connectionsOf(machine.id);
        std::erase_if(connections, [](StoredConnection const& one) { return one.revokedAt.has_value(); });
        all.push_back({.machine = stateOf(std::move(machine)), .connections = std::move(connections)});
    }
    return all;
}

Task<ConnectionState> ConnectionService::revoke(Caller caller, std::string id)
{
    ConnectionState state = connection(caller, id);
    if (store.revoke(id, today())) {
        state = connection(caller, id);
        audit.add(caller, AuditEntry::of(state.connection, "connection.revoked"));
    }
    if (auto const session = machines.find(state.connection.machineId))
        reportRevocations(session);
    control.connectionRevoked(state.connection.machineId, id);
    queue.connectionRevoked(id);
    co_await intake.connectionEnded(id);
    co_return state;
}

Task<> ConnectionService::removeMachine(Caller caller, std::string id)
{
    if (!isReached(caller, id))
        throw noMachine();
    auto const connections = store.connectionsOf(id);
    for (StoredConnection const& one : connections) // The revoked ones may still have recordings.
        if (!caller.reaches(one))
            throw Failure{.code = ErrorCode::forbidden,
                          .message = "This API key does not reach all connections of the machine"};
    auto recordings = library.withFilesOf(id);
    if (!store.removeMachine(id))
        throw noMachine();
    noteRemoval(caller, id, connections);
    machines.reject(id);
    control.machineRemoved(id);
    co_await library.removeFiles(std::move(recordings));
}

/// For each connection, so that a caller that reaches nothing else finds it, too.
void ConnectionService::noteRemoval(Caller const& caller,
                                    std::string const& machineId,
                                    std::vector<StoredConnection> const& connections)
{
    bool isNoted = false;
    for (StoredConnection const& one : connections)
        if (!one.revokedAt) {
            audit.add(caller, AuditEntry::of(one, "connection.revoked"));
            audit.add(caller, AuditEntry::of(one, "machine.removed"));
            isNoted = true;
        }
    if (!isNoted)
        audit.add(caller, {.type = "machine.removed", .machineId = machineId});
}

void ConnectionService::reportRevocations(std::shared_ptr<ConnectedMachine> const& machine)
{
    spawn(server, [this, machine] { return sendRevocations(machine); });
}

Task<> ConnectionService::sendRevocations(std::shared_ptr<ConnectedMachine> machine)
{
    for (std::string const& connectionId : store.pendingRevocations(machine->machineId()))
        co_await sendRevocation(machine, connectionId);
}

Task<> ConnectionService::sendRevocation(std::shared_ptr<ConnectedMachine> machine, std::string connectionId)
{
    std::string const requestId = newId("req");
    json::object const frame{
        {"id", requestId}, {"method", "connection.revoke"}, {"params", {{"connectionId", connectionId}}}};
    try {
        MachineMessage const reply =
            co_await machine->call(requestId, writeJson(frame), settings.commandTimeout);
        if (reply.value.get_object().contains("result"))
            store.setRevocationDelivered(connectionId);
    } catch (Failure const&) {
        // The machine hears of it when it connects next.
    }
}

} // namespace zelvo::service
