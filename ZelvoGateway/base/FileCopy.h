#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace zelvo::service {

/// By what a file is recognised.
struct FileDigest {
    std::uint64_t bytes = 0;
    std::string sha256; ///< as hexadecimal text

    bool operator==(FileDigest const&) const = default;
};

/// Copies a file to a new one of mode 0600, durably, and marks it private. Throws std::runtime_error, also if
/// `target` exists; then nothing of it is left.
FileDigest copyToPrivateFile(std::filesystem::path const& source, std::filesystem::path const& target);
/// Throws std::runtime_error if the file can't be read.
FileDigest digestOf(std::filesystem::path const& file);
/// Makes what was written to a folder durable. Throws std::runtime_error.
void syncFolder(std::filesystem::path const& folder);

} // namespace zelvo::service
