#pragma once

#include "wire/AgentScope.h"
#include "wire/Json.h"

#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// What the gateway offers for a link token: who asks, and for what.
struct LinkOffer {
    std::string token;
    std::string platformName;
    std::optional<std::string> website;
    std::optional<std::string> verifiedDomain;
    bool isPersonal = false;
    std::vector<AgentScope> requestedScopes; ///< unknown ones are left out
    std::string machineToken;                ///< may be empty
    std::string machineId;                   ///< may be empty
    bool operator==(LinkOffer const&) const = default;

    /// Reads the gateway's answer, all but the machine's token.
    static LinkOffer from(json::object const& answer, std::string token);
};

} // namespace zelvo
