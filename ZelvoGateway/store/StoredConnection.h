#pragma once

#include "base/Clock.h"
#include "wire/AgentMode.h"
#include "wire/AgentScope.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo::service {

/// A platform's access to one machine.
struct StoredConnection {
    std::string id;
    std::string machineId;
    std::string endUserId;
    AgentMode kind{};
    std::vector<AgentScope> scopes;
    std::string platformName;
    std::string createdAt;                ///< ISO 8601
    std::optional<std::string> revokedAt; ///< ISO 8601
};

/// A link that a platform made.
struct StoredLinkSession {
    std::string id;
    std::string endUserId;
    std::vector<AgentScope> scopes; ///< that the platform asks for
    Date expiresAt;
    std::string createdAt;                   ///< ISO 8601
    std::optional<std::string> redirectUrl;  ///< where the person goes once the link is completed
    std::optional<std::string> machineId;    ///< once an agent has resolved it
    std::optional<std::string> connectionId; ///< once it is completed
    bool used = false;
};

} // namespace zelvo::service
