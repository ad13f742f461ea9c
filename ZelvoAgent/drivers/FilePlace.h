#pragma once

#include "platform/FileSystem.h"

#include <string>

namespace zelvo {

/// Where a path leads when all links in it are followed.
struct FilePlace {
    /// Absolute, without links. Where nothing stands, of the part that exists with its links followed, and
    /// the rest as it is.
    std::string path;
    /// A folder or a file of any kind stands there; a link that leads nowhere, or in a circle, doesn't count.
    bool exists = false;
    bool isFolder = false;
    bool operator==(FilePlace const&) const = default;
};

/// Looks at every part of a standardized path.
FilePlace locate(FileSystem& files, std::string const& path);

} // namespace zelvo
