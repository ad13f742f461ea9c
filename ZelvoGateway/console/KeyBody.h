#pragma once

#include "ZelvoGateway/control/KeyService.h"
#include "wire/Json.h"

namespace zelvo::service {

/// Reads what a new API key is to be, {"name", "connections"?, "endUsers"?}. Refuses other members and empty
/// lists, because a key without a list reaches everything. Throws HttpError.
KeyRequest keyRequestIn(json::object const& body);

} // namespace zelvo::service
