#pragma once

#include "base/Clock.h"
#include "platform/WebSocket.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// What a socket failure means: a transient error, or one of the two that a retry cannot fix.
struct GatewayFailure {
    enum class Kind { transient, tokenRejected, updateRequired };
    Kind kind = Kind::transient;
    std::string reason; ///< for `transient`; in the person's language
    bool operator==(GatewayFailure const&) const = default;

    static GatewayFailure classify(std::optional<int> httpStatus,
                                   std::optional<int> closeCode,
                                   std::optional<std::string> const& closeReason,
                                   std::string errorDescription);

    /// The delay after `attempt` consecutive failures, without jitter: 1, 2, 4, 8, 16, 30 s.
    static std::chrono::seconds retryDelay(std::int64_t attempt);

    /// Describes a network failure in the person's language.
    static std::string describe(NetworkFailure const& failure);
};

} // namespace zelvo
