#pragma once

#include "base/Clock.h"
#include "wire/Json.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A command in the gateway's queue.
struct QueuedCommandInfo {
    std::string commandId;
    std::string type;
    std::string summary; ///< a description for the person; the type if the gateway sent none
    std::optional<Date> expiresAt;
    bool operator==(QueuedCommandInfo const&) const = default;
};

/// The queued commands of one connection.
struct QueuedCommandsOffer {
    std::string connectionId;
    std::string platformName;
    std::vector<QueuedCommandInfo> commands;
    std::optional<std::string> claimedName = {}; ///< what it calls itself, if that is not platformName
    bool operator==(QueuedCommandsOffer const&) const = default;

    /// Parses a frame's params. `nullopt` if the connection is missing or any command is invalid.
    static std::optional<QueuedCommandsOffer> parse(json::object const& params);
    std::vector<std::string> ids() const;
    /// Replaces the platform's name by that of its connection; another name is only claimed.
    void nameBy(std::string const& connectionName);
};

} // namespace zelvo
