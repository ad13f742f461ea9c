#pragma once

#include "platform/FileSystem.h"

#include <string>

namespace zelvo {

/// Where a path leads after following all links in it.
struct FilePlace {
    /// Absolute, without links. If nothing exists there: the existing part with its links followed, then the
    /// rest unchanged.
    std::string path;
    /// True if a folder or any kind of file exists there. A dangling or circular link does not count.
    bool exists = false;
    bool isFolder = false;
    bool operator==(FilePlace const&) const = default;
};

/// Resolves a standardized path component by component.
FilePlace locate(FileSystem& files, std::string const& path);

} // namespace zelvo
