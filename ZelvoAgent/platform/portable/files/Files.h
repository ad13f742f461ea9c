#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// Small files that are read as a whole and replaced atomically. Thread: any.
namespace zelvo::files {

/// Identifies a file's state without reading it.
struct Identity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t bytes = 0;
    std::int64_t changedNs = 0;
    bool operator==(Identity const&) const = default;
};

/// A file's content and the state that was read.
struct Read {
    Identity identity;
    std::string content;
};

/// `nullopt` if there is no regular file.
std::optional<Identity> identityOf(std::filesystem::path const& path);
/// `nullopt` if it is no regular file, can't be read, or is longer than `limit` bytes. Never waits for
/// another process.
std::optional<Read> read(std::filesystem::path const& path, std::size_t limit);
/// Replaces a file atomically: writes a temporary file of mode 0600 beside it, syncs and renames it.
/// `nullopt`, with errno set, on failure; the old file is then unchanged. The new name is durable after
/// syncFolder().
std::optional<Identity> replace(std::filesystem::path const& path, std::string_view content);
/// Removes the temporary files that killed processes left in a folder.
void removeLeftovers(std::filesystem::path const& folder);

/// Creates a folder of mode 0700 and missing folders above it. False, with errno set, if it does not exist
/// afterwards.
bool makePrivateFolder(std::filesystem::path const& folder);
void syncFolder(std::filesystem::path const& folder);

} // namespace zelvo::files
