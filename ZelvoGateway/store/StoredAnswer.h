#pragma once

#include "base/Clock.h"

#include <optional>
#include <string>

namespace zelvo::service {

/// A request that came with an idempotency key, and how it was answered.
struct StoredAnswer {
    std::string caller; ///< the id of its API key; empty for the console
    std::string keyHash;
    std::string requestHash; ///< of its method, path and body
    Date createdAt;
    std::optional<int> status = {};         ///< of the answer; nullopt while it runs
    std::optional<std::string> sealed = {}; ///< the answer's body; nullopt if it was too large to be kept
};

} // namespace zelvo::service
