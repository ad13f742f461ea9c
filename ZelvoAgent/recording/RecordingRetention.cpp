#include "recording/RecordingRetention.h"

#include "recording/RecordingFolder.h"

namespace zelvo {

namespace {

bool isNamedAsRecording(std::filesystem::path const& file)
{
    return file.extension() == ".mp4" && file.filename().string().starts_with("Zelvo ");
}

} // namespace

RecordingRetention::RecordingRetention(RecordingSettings const& settings, VideoFolders& folders)
    : settings(settings), folders(folders)
{
}

std::vector<std::filesystem::path> RecordingRetention::expired(VideoFolders& folders,
                                                               std::filesystem::path const& folder,
                                                               std::int64_t olderThanDays,
                                                               Date now)
{
    Date const cutoff = now - std::chrono::seconds(86'400 * olderThanDays);
    std::vector<std::filesystem::path> old;
    for (StoredFile const& file : folders.files(folder))
        if (isNamedAsRecording(file.path) && file.created.value_or(now) < cutoff)
            old.push_back(file.path);
    return old;
}

std::size_t RecordingRetention::purge(Date now)
{
    std::size_t removed = 0;
    for (auto const& file : expired(folders, recordingFolder(folders), settings.retentionDays(), now))
        if (folders.remove(file))
            ++removed;
    return removed;
}

} // namespace zelvo
