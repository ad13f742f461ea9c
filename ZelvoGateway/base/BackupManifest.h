#pragma once

#include "ZelvoGateway/base/FileCopy.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zelvo::service {

/// One file of a backup.
struct BackupFile {
    std::string name; ///< relative to the backup's folder: "gateway.sqlite", "api-key" or "recordings/ID.mp4"
    FileDigest digest;

    bool operator==(BackupFile const&) const = default;
};

/// What a backup consists of. It is written last, so a folder without one is no backup.
struct BackupManifest {
    static constexpr char const* fileName = "manifest.json";
    static constexpr char const* storeName = "gateway.sqlite";
    static constexpr char const* keyName = "api-key";
    static constexpr std::size_t maxBytes = std::size_t{64} << 20;

    std::string version;           ///< of the program that made it
    std::string createdAt;         ///< "2026-11-23T06:00:00.000Z"
    std::int64_t storeVersion = 0; ///< of the store's tables
    std::vector<BackupFile> files;

    std::string text() const;
    /// Throws std::runtime_error for what is no manifest, names any other file, or names one twice.
    static BackupManifest parse(std::string_view text);
    bool operator==(BackupManifest const&) const = default;
};

} // namespace zelvo::service
