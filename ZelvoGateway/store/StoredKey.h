#pragma once

#include "ZelvoGateway/base/Caller.h"
#include "base/Clock.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// An API key, as far as it can be known after it was made.
struct StoredKey {
    std::string id;
    std::string name;
    std::string prefix; ///< the first characters of the key, by which people tell keys apart
    std::string hash;   ///< hashOf() the key
    Reach reach;
    Date createdAt;
    std::optional<Date> lastUsedAt = {}; ///< up to a minute old
    std::optional<Date> revokedAt = {};
    bool operator==(StoredKey const&) const = default;
};

} // namespace zelvo::service
