#pragma once

#include "ZelvoGateway/store/Store.h"
#include "wire/records/ServiceMachines.h"

#include <string>

namespace zelvo::service {

/// A stored machine as the service shows it. The availability of a machine that is not connected is unknown.
records::Machine machineRecord(StoredMachine const& machine, bool online);
records::Connection
connectionRecord(StoredConnection const& connection, StoredMachine const& machine, bool online);
/// The name that the console shows: the computer's, else one made of the identifier.
std::string displayName(StoredMachine const& machine);

} // namespace zelvo::service
