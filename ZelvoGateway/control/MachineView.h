#pragma once

#include "ZelvoGateway/control/ConnectionService.h"
#include "wire/records/ServiceLists.h"

#include <string>

namespace zelvo::service {

/// The record of a machine. The availability of a machine that is not connected is unknown.
records::Machine machineRecord(MachineState const& state);
records::MachineEntry machineEntry(MachineState const& state);
records::Connection connectionRecord(ConnectionState const& state);
/// The computer's name, or one made of the machine's id.
std::string displayName(StoredMachine const& machine);

} // namespace zelvo::service
