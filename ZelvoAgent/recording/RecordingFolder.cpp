#include "recording/RecordingFolder.h"

#include "recording/RecordingPlan.h"

#include <cerrno>

namespace zelvo {

namespace {

constexpr int lastNumber = 99; // More recordings in one second would be a bug.

} // namespace

std::filesystem::path recordingFolder(VideoFolders& folders)
{
    return folders.videosFolder() / "Zelvo";
}

std::filesystem::path
freeRecordingPath(VideoFolders& folders, std::filesystem::path const& folder, std::string_view fileName)
{
    std::filesystem::path file = folder / fileName;
    for (int number = 2; folders.isTaken(file); ++number) {
        if (number > lastNumber)
            throw FileFailure(EEXIST);
        file = folder / RecordingPlan::numbered(fileName, number);
    }
    return file;
}

} // namespace zelvo
