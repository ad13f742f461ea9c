#include "ZelvoGateway/control/MachineView.h"

#include <algorithm>

namespace zelvo::service {

namespace {

records::ReportedAvailability reported(Availability availability)
{
    return fromRawValue<records::ReportedAvailability>(rawValue(availability))
        .value_or(records::ReportedAvailability::unknown);
}

} // namespace

records::Machine machineRecord(MachineState const& state)
{
    StoredMachine const& machine = state.machine;
    records::Machine record;
    record.availability = records::ReportedAvailability::unknown;
    record.lastSeenAt = machine.lastSeenAt;
    record.online = state.online;
    record.os = records::MachineOS::linux; // The default: an agent for Linux does not report it.
    record.paused = machine.paused;
    if (!machine.heartbeat)
        return record;
    records::Heartbeat const& heartbeat = *machine.heartbeat;
    record.appVersion = heartbeat.appVersion;
    if (state.online)
        record.availability = reported(heartbeat.availability);
    record.display = heartbeat.display;
    record.hiddenAppCount = heartbeat.hiddenAppCount;
    record.macosVersion = heartbeat.macosVersion;
    record.os = heartbeat.os.value_or(record.os);
    record.permissions = heartbeat.permissions;
    return record;
}

records::MachineEntry machineEntry(MachineState const& state)
{
    return {.createdAt = state.machine.createdAt,
            .id = state.machine.id,
            .kind = state.machine.kind,
            .machine = machineRecord(state)};
}

records::Connection connectionRecord(ConnectionState const& state)
{
    StoredConnection const& connection = state.connection;
    StoredMachine const& machine = state.machine.machine;
    records::Connection record;
    record.createdAt = connection.createdAt;
    record.endUserId = connection.endUserId;
    record.id = connection.id;
    record.kind = connection.kind;
    record.machine = machineRecord(state.machine);
    record.machineId = connection.machineId;
    record.revokedAt = connection.revokedAt;
    record.scopes = connection.scopes;
    record.status =
        connection.revokedAt ? records::ConnectionStatus::revoked : records::ConnectionStatus::active;
    if (machine.heartbeat && machine.heartbeat->grantedConnectionIds) {
        auto const& granted = *machine.heartbeat->grantedConnectionIds;
        record.grantedOnMac = std::ranges::find(granted, connection.id) != granted.end();
    }
    return record;
}

std::string displayName(StoredMachine const& machine)
{
    bool const named =
        machine.heartbeat && machine.heartbeat->computerName && !machine.heartbeat->computerName->empty();
    return named ? *machine.heartbeat->computerName
                 : "Machine " +
                       machine.id.substr(machine.id.size() - std::min<std::size_t>(machine.id.size(), 6));
}

} // namespace zelvo::service
