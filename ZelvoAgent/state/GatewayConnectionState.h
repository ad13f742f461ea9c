#pragma once

#include "base/Clock.h"

#include <optional>
#include <string>

namespace zelvo {

/// The link to the gateway as the rest of the program, and finally the person, sees it.
struct GatewayConnectionState {
    enum class Kind { retrying, notLinked, connecting, connected, tokenRejected, updateRequired };

    Kind kind = Kind::notLinked;
    std::string reason; ///< of retrying: why the last session ended
    Date nextAttempt;   ///< of retrying
    bool operator==(GatewayConnectionState const&) const = default;

    static GatewayConnectionState retrying(std::string reason, Date nextAttempt);
    static GatewayConnectionState of(Kind kind);

    std::string title() const;
    std::optional<std::string> detail() const;
    bool isConnected() const { return kind == Kind::connected; }
};

} // namespace zelvo
