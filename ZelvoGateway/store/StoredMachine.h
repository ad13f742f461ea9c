#pragma once

#include "wire/AgentMode.h"
#include "wire/records/Heartbeat.h"

#include <optional>
#include <string>

namespace zelvo::service {

struct StoredMachine {
    std::string id;
    AgentMode kind{};
    std::string createdAt;                       ///< ISO 8601
    std::optional<records::Heartbeat> heartbeat; ///< the last one
    bool paused = false;
    std::optional<std::string> lastSeenAt; ///< ISO 8601
};

/// A new machine and the token that proves it. This is the only place where the token can be read; the store
/// keeps its hash.
struct MachineWithToken {
    std::string machineId;
    std::string token;
};

} // namespace zelvo::service
