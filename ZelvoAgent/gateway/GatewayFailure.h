#pragma once

#include "base/Clock.h"
#include "platform/WebSocket.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zelvo {

/// What a failed socket means: try again, or one of the two failures that no retry can mend.
struct GatewayFailure {
    enum class Kind { transient, tokenRejected, updateRequired };
    Kind kind = Kind::transient;
    std::string reason; ///< of a transient one, in the person's language
    bool operator==(GatewayFailure const&) const = default;

    static GatewayFailure classify(std::optional<int> httpStatus,
                                   std::optional<int> closeCode,
                                   std::optional<std::string> const& closeReason,
                                   std::string errorDescription);

    /// The pause before the attempt after `attempt` failures in a row, without jitter: 1, 2, 4, 8, 16, 30 s.
    static std::chrono::seconds retryDelay(std::int64_t attempt);

    /// A network failure in the person's language.
    static std::string describe(NetworkFailure const& failure);
};

} // namespace zelvo
