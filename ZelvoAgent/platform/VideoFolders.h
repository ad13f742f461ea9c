#pragma once

#include "base/Clock.h"
#include "platform/FileSystem.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A regular file that stands in a folder.
struct StoredFile {
    std::filesystem::path path;
    std::optional<Date> created; ///< nothing where the file system keeps no such date
    bool operator==(StoredFile const&) const = default;
};

/// The person's folder of recordings, and what is done in the folders below it. Thread: any; blocks for as
/// long as the disk does. Made by: platform/linux/system/LinuxVideoFolders, tests/fakes/FakeVideoFolders.
class VideoFolders {
public:
    virtual ~VideoFolders() = default;
    /// Where the person keeps recordings; need not exist.
    virtual std::filesystem::path videosFolder() = 0;
    /// Makes a folder, with those above it, where it is missing. Throws FileFailure.
    virtual void make(std::filesystem::path const& folder) = 0;
    /// The regular files in a folder, in no order; no links, no folders and nothing hidden. Empty when the
    /// folder can't be listed.
    virtual std::vector<StoredFile> files(std::filesystem::path const& folder) = 0;
    /// Is there anything of that name? True also when it can't be told.
    virtual bool isTaken(std::filesystem::path const& file) = 0;
    /// Removes a file; a folder never. False when that failed.
    virtual bool remove(std::filesystem::path const& file) = 0;
};

} // namespace zelvo
