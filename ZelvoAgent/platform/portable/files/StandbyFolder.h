#pragma once

#include <filesystem>

namespace zelvo {

/// The folder beside a program's folder that holds its next version before an update and the version before
/// it afterwards.
inline std::filesystem::path standbyFolderOf(std::filesystem::path const& folder)
{
    return folder.parent_path() / ("." + folder.filename().string() + ".standby");
}

} // namespace zelvo
