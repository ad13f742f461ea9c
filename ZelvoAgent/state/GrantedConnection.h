#pragma once

#include "confirm/ConfirmationPolicy.h"
#include "wire/AgentScope.h"
#include "wire/Json.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// One connection that the person has granted.
struct GrantedConnection {
    std::string id;
    std::string platformName;
    std::vector<AgentScope> scopes;
    ConfirmationPolicy policy;
    std::optional<bool> shareRecordings; ///< absent means not yet answered
    bool operator==(GrantedConnection const&) const = default;

    bool holds(AgentScope scope) const;

    json::object toJson() const;
    static std::optional<GrantedConnection> fromJson(json::value const& stored);
};

using ConnectionMap = std::map<std::string, GrantedConnection>;

/// The stored form of all connections: a JSON array. Decoding returns `nullopt` if any record is invalid.
std::string encodeConnections(ConnectionMap const& connections);
std::optional<ConnectionMap> decodeConnections(std::string_view bytes);

} // namespace zelvo
