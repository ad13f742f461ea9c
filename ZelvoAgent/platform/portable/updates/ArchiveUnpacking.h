#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

namespace zelvo {

/// The names that an archive of the program holds, each a plain file below one top folder. The program is the
/// first.
std::vector<std::string_view> const& archivedFiles();

/// How much an archive may hold: far more than ours, far less than what fills a disk.
struct UnpackLimits {
    std::int64_t maxBytes = std::int64_t{1} << 30;
};

/// Unpacks a tar archive (xz, gzip or zstd) of the program into an empty folder. Only archivedFiles() below
/// one top folder are accepted, each once: no links, no other folders, no paths. What is written is on disk
/// when it returns. Throws UpdateAbort; what was unpacked until then stays. Thread: any; blocks.
/// descriptor  of the archive, read from its start
void unpackArchive(int descriptor, std::filesystem::path const& into, UnpackLimits limits = {});

} // namespace zelvo
