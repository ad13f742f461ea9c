#pragma once

#include "base/Clock.h"
#include "platform/FileSystem.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelvo {

/// A regular file in a folder.
struct StoredFile {
    std::filesystem::path path;
    std::optional<Date> created; ///< `nullopt` if the file system keeps no such date
    bool operator==(StoredFile const&) const = default;
};

/// The user's folder of recordings and the files in its subfolders.
/// Thread: any; blocks for as long as the disk does.
/// Made by: platform/linux/system/LinuxVideoFolders, tests/fakes/FakeVideoFolders.
class VideoFolders {
public:
    virtual ~VideoFolders() = default;
    /// The user's folder for recordings; need not exist.
    virtual std::filesystem::path videosFolder() = 0;
    /// Creates a folder and missing folders above it. Throws FileFailure.
    virtual void make(std::filesystem::path const& folder) = 0;
    /// The regular files in a folder, in no order; no links, folders or hidden files. Empty if the folder
    /// can't be listed.
    virtual std::vector<StoredFile> files(std::filesystem::path const& folder) = 0;
    /// Whether the name exists. True also if that is unknown.
    virtual bool isTaken(std::filesystem::path const& file) = 0;
    /// Removes a file, never a folder. False if that failed.
    virtual bool remove(std::filesystem::path const& file) = 0;
};

} // namespace zelvo
