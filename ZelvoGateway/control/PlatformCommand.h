#pragma once

#include "ZelvoGateway/control/Arbiter.h"
#include "ZelvoGateway/store/Store.h"
#include "wire/Json.h"
#include "wire/records/ServiceMachines.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// What a delivery may ask for, and what it gets when it does not ask.
namespace DeliveryBounds {
constexpr std::int64_t minTtl = 1;
constexpr std::int64_t maxTtl = 7L * 24 * 3600;
constexpr std::int64_t defaultTtl = 3600;
constexpr std::int64_t minConfirmation = 1'000; ///< milliseconds
constexpr std::int64_t maxConfirmation = 600'000;
constexpr std::int64_t defaultConfirmation = 60'000; ///< what an agent takes when it is told nothing
} // namespace DeliveryBounds

/// A command that a platform submitted: {"method", "params"?, "agent"?, "delivery"?}.
///
/// "agent" is {"name"?, "ref"?, "task"?}: who asks. Commands with the same "ref" are of the same agent;
/// without one they are of the connection itself. The whole object reaches the machine as it is.
///
/// "delivery" holds DeliveryOptions and nothing else:
/// - "whenUnavailable": "queue" keeps the command until the machine is back, when it is offline or paused, or
///   its last heartbeat says that it is asleep, locked or without a session. "fail" answers with an error at
///   once, also when only another agent is in control. Without it an unavailable machine is an error at once,
///   and a command of control waits for its turn.
/// - "ttlSeconds": how long a queued command may wait, 1 to 604800; 3600 without it.
/// - "confirmationTimeoutMs": how long the person has to answer a question about it, 1000 to 600000. It goes
///   into the params of the methods that take it, "shell.run" and "urls.open", in the place of what stands
///   there; others have no use for it.
struct PlatformCommand {
    std::string method;
    std::optional<json::object> params;
    std::optional<json::object> agent;
    records::DeliveryOptions delivery;

    bool mayBeQueued() const { return delivery.whenUnavailable == records::WhenUnavailable::queue; }
    bool mustNotWait() const { return delivery.whenUnavailable == records::WhenUnavailable::fail; }
};

/// Takes a command's body apart. Throws Failure: invalidRequest with the key named; forbidden for the
/// gateway's own methods.
PlatformCommand readCommand(json::object body);

/// The frame that carries it to the machine. It takes the params and the agent away.
json::object frameOf(std::string const& id, std::string const& connectionId, PlatformCommand& command);

/// Who asks, by the frame's "agent".
Agent agentOf(StoredConnection const& connection, json::object const* agent);

/// How long a machine may take for it: the usual time, and more when the person has more time to answer.
Duration patienceFor(json::object const* params, Duration usual);

/// True for the methods that only one agent at a time may use.
bool needsControl(std::string_view method);

/// True when a machine that answered `code` has done nothing of it, so that it may be sent again.
bool wasNotStarted(std::string_view method, ErrorCode code);

/// What a person is asked to agree to: "Run: make", "3 actions".
std::string summaryOf(std::string_view method, json::object const* params);

} // namespace zelvo::service
