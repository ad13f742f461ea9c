#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zelvo {

/// The kinds of failure that an agent is told of. They are thrown as they stand, and become a reply in
/// RpcRouter::handle.
enum class AgentError {
    scopeDenied,
    machinePaused,
    machineUnavailable,
    permissionMissing,
    machineBusy,
    hiddenAppActive,
    deniedByUser,
    confirmationTimeout,
    snapshotExpired,
    appNotFrontmost,
    zelvoUiProtected,
    invalidRequest,
    timeout,
    internalError,
};

constexpr std::size_t agentErrorCount = 14;

/// The wire code, "scope_denied".
std::string_view rawValue(AgentError error);
/// The English message that goes out when the failure carries none of its own.
std::string_view defaultMessage(AgentError error);
/// The kind of a wire code; nothing for any text but the fourteen.
std::optional<AgentError> agentErrorFrom(std::string_view rawValue);

/// A failure with its own message and details. The details go out even when empty; numbers in them are
/// decimal texts.
struct DetailedAgentError {
    AgentError error{};
    std::string message;
    std::map<std::string, std::string> details;
    bool operator==(DetailedAgentError const&) const = default;
};

} // namespace zelvo
