#pragma once

#include "wire/ErrorCode.h"

#include <string_view>

/// Everything that the gateway knows about single methods of machines.
namespace zelvo::service::MethodRules {

/// Throws Failure: forbidden for the gateway's own messages to a machine. A machine answers those whatever
/// the connection may do, and they name other connections, so platforms must not send them.
void assertForPlatforms(std::string_view method);

/// Only one agent at a time may use the method.
bool needsControl(std::string_view method);

/// The method has the param "confirmationTimeoutMs".
bool takesConfirmationTime(std::string_view method);

/// A machine that answered `code` has done nothing, so the command can be sent again.
bool wasNotStarted(std::string_view method, ErrorCode code);

} // namespace zelvo::service::MethodRules
