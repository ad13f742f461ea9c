#pragma once

#include "platform/VideoFolders.h"

#include <filesystem>
#include <string_view>

namespace zelvo {

/// The folder of the recordings: "Zelvo" in the person's video folder. Blocks.
std::filesystem::path recordingFolder(VideoFolders& folders);

/// The path of a new recording in a folder. If the name is taken it gets a number, because two recordings may
/// start in the same second and must not overwrite each other. Blocks. Throws FileFailure if no name is free.
std::filesystem::path
freeRecordingPath(VideoFolders& folders, std::filesystem::path const& folder, std::string_view fileName);

} // namespace zelvo
