#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace zelvo::service {

/// The limit for which something was refused, slowed down or closed.
enum class Refusal {
    connections,        ///< all places were taken
    idleConnection,     ///< one that waited had to make room
    addressConnections, ///< too many of one address at one time
    addressRate,        ///< too many of one address in a minute
    slowRequest,        ///< a request was not sent in time
    wrongKeys,          ///< too many of one address
    wrongTokens,        ///< too many of one address
    keyRate,            ///< requests of one API key in a second
    keyRequests,        ///< of one API key at one time
    memory,             ///< the budget of all, or of one caller, was used up
    bodySize,           ///< of a request
    machines,           ///< too many are connected
    machineRate,        ///< connections of one machine in a minute
    machineMessages,    ///< that a machine sent unasked were read more slowly
    machineMessageSize, ///< a machine's message was too large
    machineStall,       ///< a machine read nothing
    machineCommands,    ///< too many commands wait for the reply of one machine
    queue,              ///< of a connection or a machine was full
    mcp,                ///< sessions, sockets or requests of a client of the Model Context Protocol
};

/// In the order of the enumerators; the label of the metric.
inline constexpr std::array<std::string_view, 19> refusalNames = {
    "connections",   "idle_connection",  "address_connections",
    "address_rate",  "slow_request",     "wrong_keys",
    "wrong_tokens",  "key_rate",         "key_requests",
    "memory",        "body_size",        "machines",
    "machine_rate",  "machine_messages", "machine_message_size",
    "machine_stall", "machine_commands", "queue",
    "mcp",
};
static_assert(refusalNames.size() == static_cast<std::size_t>(Refusal::mcp) + 1);

} // namespace zelvo::service
