#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace zelvo::service {

/// Which connections a caller may use: all, or the listed ones and those of the listed end users. A
/// default-constructed reach covers nothing.
struct Reach {
    bool all = false;
    std::set<std::string, std::less<>> connections = {};
    std::set<std::string, std::less<>> endUsers = {};

    bool coversEndUser(std::string_view endUserId) const { return all || endUsers.contains(endUserId); }
    bool covers(std::string_view connectionId, std::string_view endUserId) const
    {
        return connections.contains(connectionId) || coversEndUser(endUserId);
    }
    bool operator==(Reach const&) const = default;
};

/// Who sends a request: a platform with an API key, or the person who runs the gateway.
struct Caller {
    std::string keyId = {}; ///< empty for the person
    std::string name = {};  ///< of the key
    Reach reach = {};
    std::uint64_t keyVersion = 0; ///< another one after the key was replaced under the same id

    /// The person at the console or at the command line.
    static Caller console() { return {.name = "Console", .reach = {.all = true}}; }

    bool isConsole() const { return keyId.empty(); }
    /// connection   anything with `id` and `endUserId`
    template <class Connection>
    bool reaches(Connection const& connection) const
    {
        return reach.covers(connection.id, connection.endUserId);
    }
    bool operator==(Caller const&) const = default;
};

} // namespace zelvo::service
