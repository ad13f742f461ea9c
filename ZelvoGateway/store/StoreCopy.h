#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zelvo::service {

/// A copy of a store, which nobody uses yet.
struct StoreCopy {
    std::int64_t version = 0;            ///< of its tables
    std::vector<std::string> recordings; ///< ids of those that can be watched

    /// Copies a store as it is at one moment, also while a gateway changes it, and checks the copy. Throws
    /// StoreError; then what was written of the copy must be removed.
    static StoreCopy make(std::filesystem::path const& store, std::filesystem::path const& target);
};

} // namespace zelvo::service
