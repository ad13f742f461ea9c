#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// Small files that are read whole and replaced in one step. Thread: any.
namespace zelvo::files {

/// What tells one state of a file from another without reading it.
struct Identity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t bytes = 0;
    std::int64_t changedNs = 0;
    bool operator==(Identity const&) const = default;
};

/// A file's content, and the state that it was read in.
struct Read {
    Identity identity;
    std::string content;
};

/// Nothing when there is no regular file.
std::optional<Identity> identityOf(std::filesystem::path const& path);
/// Nothing when it is no regular file, can't be read, or is longer than `limit` bytes. Never waits for
/// another process.
std::optional<Read> read(std::filesystem::path const& path, std::size_t limit);
/// Replaces a file in one step: a temporary file of mode 0600 beside it, synced, then renamed. Nothing, with
/// errno set, when that failed; the old file then stands. The new name is safe on disk after syncFolder().
std::optional<Identity> replace(std::filesystem::path const& path, std::string_view content);
/// Removes what a replace() of a process that was killed left in a folder.
void removeLeftovers(std::filesystem::path const& folder);

/// Makes a folder of mode 0700, with those above it, where it is missing. False, with errno set, when it is
/// not there then.
bool makePrivateFolder(std::filesystem::path const& folder);
void syncFolder(std::filesystem::path const& folder);

} // namespace zelvo::files
