#pragma once

#include "base/Clock.h"
#include "wire/Json.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A command that waits at the gateway.
struct QueuedCommandInfo {
    std::string commandId;
    std::string type;
    std::string summary; ///< in words; the type when there are none
    std::optional<Date> expiresAt;
    bool operator==(QueuedCommandInfo const&) const = default;
};

/// The commands of one connection that waited for this machine.
struct QueuedCommandsOffer {
    std::string connectionId;
    std::string platformName;
    std::vector<QueuedCommandInfo> commands;
    bool operator==(QueuedCommandsOffer const&) const = default;

    /// From a frame's params. Nothing when it names no connection, or any command is not one.
    static std::optional<QueuedCommandsOffer> parse(json::object const& params);
    std::vector<std::string> ids() const;
};

} // namespace zelvo
