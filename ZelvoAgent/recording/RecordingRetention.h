#pragma once

#include "platform/VideoFolders.h"
#include "recording/RecordingSettings.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace zelvo {

/// Deletes recordings that are older than the retention period. Best effort: the next sweep retries what
/// failed. Thread: any; blocks.
class RecordingRetention {
public:
    RecordingRetention(RecordingSettings const& settings, VideoFolders& folders);

    /// The recordings in a folder that are older than `olderThanDays`. Includes only regular files whose name
    /// has the form of this program's recordings, never a folder or a link.
    static std::vector<std::filesystem::path>
    expired(VideoFolders& folders, std::filesystem::path const& folder, std::int64_t olderThanDays, Date now);

    /// Returns the number of deleted recordings.
    std::size_t purge(Date now);

private:
    RecordingSettings const& settings;
    VideoFolders& folders;
};

} // namespace zelvo
