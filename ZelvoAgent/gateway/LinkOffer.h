#pragma once

#include "wire/AgentScope.h"
#include "wire/Json.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// The gateway's offer for a link token: who asks, and for which scopes.
struct LinkOffer {
    std::string token;
    std::string platformName;
    std::optional<std::string> website;
    std::optional<std::string> verifiedDomain;
    bool isPersonal = false;
    std::vector<AgentScope> requestedScopes; ///< without unknown ones
    std::string machineToken;                ///< may be empty
    std::string machineId;                   ///< may be empty
    bool operator==(LinkOffer const&) const = default;

    /// Parses the gateway's answer, except the machine's token.
    static LinkOffer from(json::object const& answer, std::string token);
};

} // namespace zelvo
