#pragma once

#include <filesystem>

namespace zelvo {

/// Moves a file or folder to the trash can of the person's data folder, as the freedesktop trash
/// specification says, so that file managers show and restore it. False, with the file where it was, if that
/// fails: for instance for a file of another file system.
/// dataHome  the folder that has the trash can "Trash"
bool moveToTrash(std::filesystem::path const& file, std::filesystem::path const& dataHome);

} // namespace zelvo
