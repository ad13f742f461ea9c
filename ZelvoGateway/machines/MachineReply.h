#pragma once

#include "ZelvoGateway/base/Failure.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// The code of a machine's reply that is an error; internalError for a code that nobody knows.
std::optional<ErrorCode> errorCodeOf(json::object const& reply);
/// A machine's reply as what it becomes for the caller: a failure when it is an error or no answer at all,
/// else nothing, and "result" is there.
std::optional<Failure> failureIn(std::string const& requestId, json::object const& reply);
/// True for what a machine that is not ready says to everything.
bool isNotReady(std::optional<ErrorCode> code);

} // namespace zelvo::service
