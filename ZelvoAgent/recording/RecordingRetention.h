#pragma once

#include "platform/VideoFolders.h"
#include "recording/RecordingSettings.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace zelvo {

/// Removes recordings that are older than the person wants to keep them. Best effort: what fails is tried
/// again by the next sweep. Thread: any; blocks.
class RecordingRetention {
public:
    RecordingRetention(RecordingSettings const& settings, VideoFolders& folders);

    /// The recordings in a folder that were made more than so many days ago. Only what is named as this
    /// program names its recordings can be among them, and never a folder or a link.
    static std::vector<std::filesystem::path>
    expired(VideoFolders& folders, std::filesystem::path const& folder, std::int64_t olderThanDays, Date now);

    /// How many were removed.
    std::size_t purge(Date now);

private:
    RecordingSettings const& settings;
    VideoFolders& folders;
};

} // namespace zelvo
