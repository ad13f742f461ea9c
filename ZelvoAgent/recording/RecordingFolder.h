#pragma once

#include "platform/MovieFolders.h"

#include <filesystem>
#include <string_view>

namespace zelvo {

/// The folder that films are kept in: "Zelvo" in the person's folder of films. Blocks.
std::filesystem::path recordingFolder(MovieFolders& folders);

/// The path of a new film in a folder. A name that is taken gets a number, so that no film ever takes the
/// place of another: two may start in the same second. Blocks. Throws FileFailure when all numbers are taken.
std::filesystem::path
freeFilmPath(MovieFolders& folders, std::filesystem::path const& folder, std::string_view fileName);

} // namespace zelvo
