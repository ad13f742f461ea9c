#pragma once

#include "platform/MovieFolders.h"
#include "recording/RecordingSettings.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace zelvo {

/// Removes films that are older than the person wants to keep them. Best effort: what fails is tried again by
/// the next sweep. Thread: any; blocks.
class RecordingRetention {
public:
    RecordingRetention(RecordingSettings const& settings, MovieFolders& folders);

    /// The films in a folder that were made more than so many days ago. Only what is named as this program
    /// names its films can be among them, and never a folder or a link.
    static std::vector<std::filesystem::path>
    expired(MovieFolders& folders, std::filesystem::path const& folder, std::int64_t olderThanDays, Date now);

    /// How many were removed.
    std::size_t purge(Date now);

private:
    RecordingSettings const& settings;
    MovieFolders& folders;
};

} // namespace zelvo
