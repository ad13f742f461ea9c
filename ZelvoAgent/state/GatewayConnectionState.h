#pragma once

#include "base/Clock.h"
#include "state/UpdateSource.h"

#include <optional>
#include <string>

namespace zelvo {

/// The state of the gateway link, for the rest of the program and for the person.
struct GatewayConnectionState {
    enum class Kind { retrying, notLinked, connecting, connected, tokenRejected, updateRequired };

    Kind kind = Kind::notLinked;
    std::string reason; ///< for `retrying`: why the last session ended
    Date nextAttempt;   ///< for `retrying`
    bool operator==(GatewayConnectionState const&) const = default;

    static GatewayConnectionState retrying(std::string reason, Date nextAttempt);
    static GatewayConnectionState of(Kind kind);

    std::string title() const;
    /// What the person can do about it, or why it is so.
    std::optional<std::string> detail(UpdateSource updates) const;
    bool isConnected() const { return kind == Kind::connected; }
};

} // namespace zelvo
