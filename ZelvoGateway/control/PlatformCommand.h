#pragma once

#include "ZelvoGateway/store/Agent.h"
#include "ZelvoGateway/store/StoredConnection.h"
#include "base/Clock.h"
#include "wire/Json.h"
#include "wire/records/ServiceMachines.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo::service {

/// What a delivery may ask for, and what it gets without asking.
namespace DeliveryBounds {
constexpr std::int64_t minTtl = 1; ///< seconds
constexpr std::int64_t maxTtl = 7L * 24 * 3600;
constexpr std::int64_t defaultTtl = 3600;
constexpr std::int64_t minConfirmation = 1'000; ///< milliseconds
constexpr std::int64_t maxConfirmation = 600'000;
constexpr std::int64_t defaultConfirmation = 60'000; ///< that an agent uses if the params say nothing
} // namespace DeliveryBounds

/// A command that a platform submitted.
struct PlatformCommand {
    std::string method;
    std::optional<json::object> params = {};
    /// {"name"?, "ref"?, "task"?}: who asks. Commands with the same "ref" belong to one agent; without it
    /// they belong to the connection itself. The machine gets the object as it is.
    std::optional<json::object> agent = {};
    /// - whenUnavailable: `queue` keeps the command while the machine is offline or paused, or its last
    ///   heartbeat says that it is asleep, locked or without a session. `fail` fails at once, also if only
    ///   another agent is in control. Without it an unavailable machine is an error at once, and a command
    ///   that needs control waits for it.
    /// - ttlSeconds: how long a queued command may wait; see DeliveryBounds.
    /// - confirmationTimeoutMs: how long the person has to answer a question about the command. It replaces
    ///   the param of that name for the methods that have it, and means nothing to others.
    records::DeliveryOptions delivery = {};
    /// How long it waits while another agent is in control; nullopt for the gateway's usual time.
    std::optional<Duration> patience = {};
    std::string requestId = {}; ///< of the HTTP request that brought it, for the log; empty if none did

    bool mayBeQueued() const { return delivery.whenUnavailable == records::WhenUnavailable::queue; }
    bool mustNotWait() const { return delivery.whenUnavailable == records::WhenUnavailable::fail; }
    json::object const* paramsIfAny() const { return params ? &*params : nullptr; }
    json::object const* agentIfAny() const { return agent ? &*agent : nullptr; }
};

/// Writes delivery.confirmationTimeoutMs into the params, if the method takes it.
void applyConfirmationTime(PlatformCommand& command);

/// The frame that carries a command to the machine. Moves the params and the agent out of the command.
json::object frameOf(std::string const& id, std::string const& connectionId, PlatformCommand& command);

/// Who asks, from the "agent" of a command or a frame; null if there is none.
Agent agentOf(StoredConnection const& connection, json::object const* agent);

/// How long a machine may take for a command: `usual`, plus what the person gets above the default to answer.
Duration patienceFor(json::object const* params, Duration usual);

/// What a person is asked to agree to: "Run: make", "3 actions".
std::string summaryOf(std::string_view method, json::object const* params);

} // namespace zelvo::service
