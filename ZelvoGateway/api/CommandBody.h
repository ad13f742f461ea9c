#pragma once

#include "ZelvoGateway/control/PlatformCommand.h"

namespace zelvo::service {

/// Reads the body of a command, {"method", "params"?, "agent"?, "delivery"?}. "delivery" may hold the keys of
/// DeliveryOptions and no others. Throws HttpError with the key named.
PlatformCommand readCommand(json::object body);

} // namespace zelvo::service
