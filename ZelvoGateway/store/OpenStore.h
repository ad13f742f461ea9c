#pragma once

#include "ZelvoGateway/base/DataFolder.h"
#include "ZelvoGateway/store/SqliteStore.h"

namespace zelvo::service {

/// The name of the store's file in a data folder.
constexpr char const* storeFile = "gateway.sqlite";

/// Opens the store of a data folder for a command that may run beside a gateway. A store of an older version
/// is brought up to date only if no gateway runs on the folder; the folder is locked then.
/// Throws std::runtime_error, StoreError
SqliteStore openStore(DataFolder& folder);

} // namespace zelvo::service
