#pragma once

#include "ZelvoGateway/base/Failure.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// The code of an error reply; internalError for an unknown code, nullopt if it is not an error.
std::optional<ErrorCode> errorCodeOf(json::object const& reply);
/// What a machine's reply means for the caller: a failure if it is an error or makes no sense; nullopt if it
/// has a "result". A long message is cut, and large details are left out: a failure takes little memory.
std::optional<Failure> failureIn(std::string const& requestId, json::object const& reply);
/// True for the codes with which a machine that is not ready refuses everything.
bool isNotReady(std::optional<ErrorCode> code);

} // namespace zelvo::service
