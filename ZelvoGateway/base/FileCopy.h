#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>

namespace zelvo::service {

/// By what a file is recognised.
struct FileDigest {
    std::uint64_t bytes = 0;
    std::string sha256; ///< as hexadecimal text

    bool operator==(FileDigest const&) const = default;
};

/// There is no such file to read.
struct MissingFile : std::runtime_error {
    using std::runtime_error::runtime_error;
};

constexpr std::uint64_t anyBytes = std::numeric_limits<std::uint64_t>::max();

// All of these read plain files only: no links, pipes or devices.

/// Copies a file to a new one of mode 0600, durably, and marks it private. Throws std::runtime_error, also if
/// `target` exists or `source` has more than `maxBytes`; then nothing of it is left. MissingFile without a
/// source.
FileDigest copyToPrivateFile(std::filesystem::path const& source,
                             std::filesystem::path const& target,
                             std::uint64_t maxBytes = anyBytes);
/// Throws std::runtime_error if the file can't be read or is larger; MissingFile if there is none.
std::string textWithin(std::filesystem::path const& file, std::uint64_t maxBytes);
/// Throws std::runtime_error if the file can't be read.
FileDigest digestOf(std::filesystem::path const& file);
/// Makes what was written to a folder durable. Throws std::runtime_error.
void syncFolder(std::filesystem::path const& folder);

} // namespace zelvo::service
