#pragma once

#include "platform/VideoFolders.h"

#include <filesystem>
#include <string_view>

namespace zelvo {

/// The folder that recordings are kept in: "Zelvo" in the person's folder of recordings. Blocks.
std::filesystem::path recordingFolder(VideoFolders& folders);

/// The path of a new recording in a folder. A name that is taken gets a number, so that no recording ever
/// takes the place of another: two may start in the same second. Blocks. Throws FileFailure when all numbers
/// are taken.
std::filesystem::path
freeRecordingPath(VideoFolders& folders, std::filesystem::path const& folder, std::string_view fileName);

} // namespace zelvo
