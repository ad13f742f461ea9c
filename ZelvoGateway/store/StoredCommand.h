#pragma once

#include "base/Clock.h"
#include "wire/records/Connections.h"

#include <cstddef>
#include <optional>
#include <string>

namespace zelvo::service {

/// A command that waits for its machine, runs, or has ended.
struct StoredCommand {
    std::string id; ///< also the "id" of its frame
    std::string connectionId;
    std::string method;
    std::string summary;
    std::string frame; ///< JSON; empty once it has ended
    Date expiresAt;
    records::CommandStatus status = records::CommandStatus::queued;
    std::optional<std::string> result; ///< JSON
    std::optional<std::string> error;  ///< JSON, {"code", "message", "details"?}
    std::string keyId = {};            ///< of the API key that submitted it; empty for the console
};

/// How a queued command ended.
struct CommandEnd {
    records::CommandStatus status{};
    std::optional<std::string> result = {}; ///< JSON
    std::optional<std::string> error = {};  ///< JSON
};

/// How much the waiting and running commands of a queue take up.
struct QueueUse {
    std::size_t commands = 0;
    std::size_t bytes = 0; ///< of their frames
};

} // namespace zelvo::service
